#pragma once

#include <cstddef>
#include <cstdint>

// The panel's driver: what a descriptor of the device answers. The state folder must be set.

/// Opens the device: reads the settings, makes memory and glass when they do not fit, and returns
/// a descriptor of the memory, or -1 and errno. `flags` are those of open(2).
int open_device(int flags);

/// Whether this process has opened the device by name.
bool device_opened();

/// Answers request `number` with `argument`, an address or a value, as the request has it.
/// Returns 0, or -1 and errno. An argument that is an address must be null or valid.
int answer_request(uint32_t number, void *argument);

/// 0, or the errno with which the driver refuses to map that part of the memory.
int map_error(size_t length, uint64_t offset);

/// Writes the log line "NAME FIELDS -> RESULT REMARK"; `error` 0 is success. Returns 0, or -1 and
/// errno.
int report(const char *name, const char *fields, int error, const char *remark = "");
