#pragma once

/// The image decoder, stb_image: stbi_load_from_callbacks, stbi_failure_reason, stbi_image_free.
/// The header is the installed one with the changes of patches/stb_image.
#define STBI_NO_STDIO // decoder_input.h reads the files
#include "stb_image_patched.h"
