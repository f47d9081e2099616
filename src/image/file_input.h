#pragma once

#include "common/handles.h"

#include <cstddef>
#include <cstdint>

/// A file or pipe that is read once from its start.

/// Reads until `size` bytes have come, the file ends, or reading fails; returns how many came.
size_t read_fully(const descriptor &file, void *to, size_t size);

/// Reads and drops up to `size` bytes. Returns false when the file ended before.
bool skip_bytes(const descriptor &file, uint64_t size);
