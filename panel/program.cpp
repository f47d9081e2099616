#include "program.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <memory>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

// The first bytes of a program.
union program_head {
    ElfW(Ehdr) elf;
    char text[PATH_MAX + 2]; // of a script: "#!" and the interpreter's path
};

struct program_file {
    int fd;

    explicit program_file(const char *path) : fd(open(path, O_RDONLY | O_CLOEXEC)) {}
    ~program_file()
    {
        if (fd >= 0)
            close(fd);
    }
    program_file(program_file &&) = delete;
};

bool read_head(const program_file &file, program_head &head)
{
    head = {};
    return file.fd >= 0 && pread(file.fd, &head, sizeof head - 1, 0) > 0;
}

// The program that the dynamic loader loads libraries into names that loader.
bool names_loader(const program_file &file, const ElfW(Ehdr) & head)
{
    ElfW(Phdr) segment{};
    for (unsigned i = 0; i < head.e_phnum; ++i) {
        const auto offset = off_t(head.e_phoff + i * sizeof segment);
        if (pread(file.fd, &segment, sizeof segment, offset) == ssize_t(sizeof segment) &&
            segment.p_type == PT_INTERP)
            return true;
    }
    return false;
}

// The loader ignores what the caller wants preloaded when the program may do more than the caller.
bool has_more_rights(const program_file &file)
{
    struct stat info;
    if (fstat(file.fd, &info) != 0)
        return false;
    return ((info.st_mode & S_ISUID) && info.st_uid != getuid()) ||
           ((info.st_mode & S_ISGID) && info.st_gid != getgid()) ||
           (getuid() != 0 && fgetxattr(file.fd, "security.capability", nullptr, 0) > 0);
}

bool is_executable_file(const std::string &path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

} // namespace

std::string find_program(const char *name)
{
    if (strchr(name, '/'))
        return is_executable_file(name) ? name : "";
    const char *folders = getenv("PATH");
    for (const char *rest = folders ? folders : "/bin:/usr/bin";; ++rest) {
        const std::string folder(rest, strcspn(rest, ":"));
        rest += folder.size();
        std::string path = (folder.empty() ? "." : folder) + "/" + name;
        if (*name && is_executable_file(path))
            return path;
        if (*rest == '\0')
            return "";
    }
}

std::string find_obstacle(const std::string &path)
{
    std::string program = path;
    const program_file self("/proc/self/exe");
    program_head own, head;
    if (!read_head(self, own))
        return "";
    for (int scripts = 0; scripts < 5; ++scripts) { // as many as the kernel follows
        const program_file file(program.c_str());
        if (!read_head(file, head))
            return "";
        if (memcmp(head.text, "#!", 2) == 0) {
            const char *interpreter = head.text + 2 + strspn(head.text + 2, " \t");
            program.assign(interpreter, strcspn(interpreter, " \t\n"));
            continue;
        }
        if (memcmp(head.text, ELFMAG, SELFMAG) != 0)
            return ""; // a shell runs it
        if (head.elf.e_machine != own.elf.e_machine)
            return program + " is built for another processor than the panel";
        if (!names_loader(file, head.elf))
            return program + " is statically linked";
        if (has_more_rights(file))
            return program + " has rights that its caller has not (set-user-ID, set-group-ID "
                             "or file capabilities)";
        return "";
    }
    return "";
}

std::string find_own_file(const char *name)
{
    char self[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    std::string folder(self, length < 0 ? 0 : size_t(length));
    folder.resize(folder.find_last_of('/') + 1);
    for (const char *place : {"", TAVO_PANEL_LIBRARY_FOLDER "/", TAVO_PANEL_HELPER_FOLDER "/"}) {
        std::string path = folder + place + name;
        if (access(path.c_str(), R_OK) == 0)
            return path;
    }
    return {};
}
