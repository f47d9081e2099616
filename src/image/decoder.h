#pragma once

/// The image decoder, stb_image: stbi_load, stbi_failure_reason, stbi_image_free. The header is the
/// installed one, hardened by the build (see cmake/harden_stb_image.cmake).
#include "stb_image_hardened.h"
