#include "command_line.h"

#include "common/message.h"
#include "common/shared_options.h"
#include "display/update.h"
#include "draw/barcode.h"
#include "draw/fills.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

constexpr const char option_string[] = "a:s:hcvnx:y:iftb:g:r:omszpqlw:d:j:k:";

/// Reads one option that getopt has recognised, with its argument in optarg.
static void read_option(invocation &call, int letter)
{
    switch (letter) {
    case 'a':
        call.grid_size = atoi(optarg);
        call.full = true;
        break;
    case 'b':
    case 'g':
        call.image_path = optarg;
        break;
    case 'c':
        clear_screen(true);
        break;
    case 'd':
        sscanf(optarg, " l=%x,w=%d,h=%d", &call.level, &call.w, &call.h);
        break;
    case 'f':
        call.full = true;
        break;
    case 'j':
        call.touch_path[0] = '\0'; // where the argument has none
        sscanf(optarg, "%63s", call.touch_path);
        break;
    case 'k':
        sscanf(optarg, "%63s", call.dump_path);
        dump_working_buffer = 1;
        break;
    case 'l':
        paint_grayscale();
        break;
    case 'p':
        paint_xor_pattern(-1);
        break;
    case 'q':
        paint_checker(4);
        break;
    case 'r':
        paint_barcode(optarg);
        break;
    case 's':
        sscanf(optarg, " w=%d,h=%d", &call.w, &call.h);
        break;
    case 'v':
        inverted ^= 1;
        break;
    case 'w':
        call.wave_mode = parse_waveform(optarg);
        break;
    case 'x':
        call.x = atoi(optarg);
        break;
    case 'y':
        call.y = atoi(optarg);
        break;
    default:
        break;
    }
    call.options[letter] = true;
    ++call.option_count;
}

invocation read_command_line(int argc, char **argv)
{
    invocation call{argc, argv};
    unsetenv("POSIXLY_CORRECT"); // it would end the options at the first operand
    int letter;
    while ((letter = getopt(argc, argv, option_string)) != -1)
        if (letter == '?')
            print_error("option %c not supported\n", letter);
        else
            read_option(call, letter);
    return call;
}

int32_t operand_count(const invocation &call)
{
    return call.argc - 1 - call.option_count;
}

const char *operand(const invocation &call, int32_t k)
{
    const int32_t position = call.option_count + k;
    return position < call.argc ? call.argv[position] : nullptr;
}
