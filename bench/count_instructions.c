// A plugin of the emulator qemu-arm (-plugin file=THIS,out=FILE) that counts the instructions of
// the emulated program, and writes their number to a file when the program ends.
//
// The plugin interface, version 1, is declared here: not every distribution packs its header.

#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

typedef uint64_t plugin_id;
struct qemu_plugin_tb; // a block of translated code
enum qemu_plugin_op { add_u64 };

size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb *block);
void qemu_plugin_register_vcpu_tb_trans_cb(plugin_id id,
                                           void (*callback)(plugin_id, struct qemu_plugin_tb *));
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb *block, enum qemu_plugin_op op,
                                              void *to, uint64_t amount);
void qemu_plugin_register_atexit_cb(plugin_id id, void (*callback)(plugin_id, void *), void *data);

extern int qemu_plugin_version;
int qemu_plugin_version = 1;
int qemu_plugin_install(plugin_id id, const void *info, int argc, char **argv);

static uint64_t executed;
static char out_path[4096];

static void count_block(plugin_id id, struct qemu_plugin_tb *block)
{
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, add_u64, &executed,
                                             qemu_plugin_tb_n_insns(block));
}

static void write_count(plugin_id id, void *data)
{
    (void)id;
    (void)data;
    FILE *const file = fopen(out_path, "w");
    if (file) {
        fprintf(file, "%" PRIu64 "\n", executed);
        fclose(file);
    }
}

int qemu_plugin_install(plugin_id id, const void *info, int argc, char **argv)
{
    (void)info;
    if (argc != 1 || strncmp(argv[0], "out=", 4) != 0)
        return 1;
    snprintf(out_path, sizeof out_path, "%s", argv[0] + 4);
    qemu_plugin_register_vcpu_tb_trans_cb(id, count_block);
    qemu_plugin_register_atexit_cb(id, write_count, NULL);
    return 0;
}
