// The libFuzzer entry points of one target; HOLTER_FUZZ_READER names its driver.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include <cstddef>
#include <cstdint>
#include <exception>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    fuzzsupport::initialize(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        fuzzreaders::HOLTER_FUZZ_READER(fuzzsupport::bytesOf(data, size));
    } catch (const std::exception&) {
        // The reader's answer to bad input. Anything else thrown escapes: a finding.
    }
    return 0;
}
