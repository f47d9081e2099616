#include "image/decoder_input.h"

#include <algorithm>
#include <cstring>

/// Takes up to `size` bytes of those that are read ahead; to null they are dropped.
static size_t take(decoder_input &input, void *to, size_t size)
{
    const size_t taken = std::min(size, input.filled - input.next);
    if (to != nullptr)
        memcpy(to, input.bytes + input.next, taken);
    input.next += taken;
    return taken;
}

static void read_ahead(decoder_input &input)
{
    input.next = 0;
    input.filled = read_fully(input.file.fd, input.bytes, sizeof input.bytes);
}

static int read_input(void *user, char *data, int size)
{
    decoder_input &input = *static_cast<decoder_input *>(user);
    const size_t wanted = size_t(size);
    size_t got = take(input, data, wanted);
    if (wanted - got >= sizeof input.bytes) {
        got += read_fully(input.file.fd, data + got, wanted - got);
    } else if (got < wanted) {
        read_ahead(input);
        got += take(input, data + got, wanted - got);
    }
    input.ended |= got < wanted;
    return int(got);
}

static void skip_input(void *user, int size)
{
    decoder_input &input = *static_cast<decoder_input *>(user);
    const size_t ahead = take(input, nullptr, size_t(size));
    skip_bytes(input.file.fd, size_t(size) - ahead);
    if (input.next == input.filled)
        read_ahead(input);
    input.ended = input.filled == 0;
}

static int input_ended(void *user)
{
    return static_cast<decoder_input *>(user)->ended;
}

const stbi_io_callbacks decoder_callbacks = {read_input, skip_input, input_ended};
