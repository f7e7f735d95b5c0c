#pragma once
// Shared by the fuzz targets: the entry point every target defines, and a
// way to keep the program's diagnostic lines from piling up.
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
