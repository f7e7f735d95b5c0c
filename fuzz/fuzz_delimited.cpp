// CSV/TSV and marker lists, through the shared reader checks.
#include "FuzzReader.h"
#include "cuelist/DelimitedReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzzCueReader(data, size, &rz48::formats::readDelimited);
}
