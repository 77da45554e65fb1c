#pragma once

#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <vector>

// The byte form of one channel's samples before PPM coding: the first sample as two bytes,
// least significant first, then each step to the next sample in its shortest form:
//   -127..127        one signed byte
//   -32767..32767    0x80, then two bytes
//   otherwise        0x80 0x00 0x80, then three bytes (a step between extremes is +-65535)
// Steps are small in ECG, so most samples take one byte, which PPM then codes well.
namespace differencestream {

// Longest form of one sample, in bytes.
constexpr size_t kMaxBytesPerSample = 6;

// Appends the stream of `count` samples to `out` (nothing for no samples).
void encode(const qint16* samples, size_t count, std::vector<std::uint8_t>& out);

// Replaces `samples` with the samples of a stream. False for a stream that ends inside a
// sample or yields more than `maxSamples`; `samples` then holds what was decoded before.
bool decode(
    const std::uint8_t* bytes, size_t size, std::vector<qint16>& samples, size_t maxSamples);

} // namespace differencestream
