#pragma once

#include "common/file.h"
#include "image/decoder.h"

/// A file or pipe on its way into the decoder, which asks for a few bytes at a time.
struct decoder_input {
    descriptor file;
    uint8_t bytes[4096] = {};    // read ahead
    size_t next = 0, filled = 0; // of them: the first that the decoder has not had; how many
    bool ended = false;          // the decoder asked for more than there was
};

/// For stbi_load_from_callbacks, with a decoder_input as the user's data.
extern const stbi_io_callbacks decoder_callbacks;
