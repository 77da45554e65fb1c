#pragma once

#include <array>
#include <cstdint>

// Fixed parameters and tables of PPMd variant H (D. Shkarin, DCC 2002).
namespace ppmdtables {

constexpr int kIntBits = 7;
constexpr int kPeriodBits = 7;
constexpr int kTotBits = kIntBits + kPeriodBits;
constexpr int kInterval = 1 << kIntBits;
constexpr int kBinScale = 1 << kTotBits; // total of a binary context's two outcomes
constexpr int kMaxFreq = 124; // a symbol's frequency above this rescales its context

// Initial escape estimates of binary contexts, by the low three bits of the context index.
constexpr std::uint16_t kInitBinEsc[8]
    = { 0x3CDD, 0x1F3F, 0x59BF, 0x48F3, 0x64A1, 0x5ABC, 0x6632, 0x6051 };
// Initial escape frequency of a context that grows from one symbol, by the binary estimate.
constexpr std::uint8_t kExpEscape[16] = { 25, 14, 9, 7, 5, 5, 4, 4, 4, 3, 3, 3, 2, 2, 2, 2 };

// SEE row by the number of unmasked symbols - 1: 0, 1, 2 alone, then runs of 1, 2, 3 ...
constexpr std::array<std::uint8_t, 256> makeNS2Indx()
{
    std::array<std::uint8_t, 256> t {};
    int i = 0;
    for (; i < 3; ++i)
        t[size_t(i)] = std::uint8_t(i);
    for (int m = i, k = 1, step = 1; i < 256; ++i) {
        t[size_t(i)] = std::uint8_t(m);
        if (--k == 0) {
            k = ++step;
            ++m;
        }
    }
    return t;
}
constexpr std::array<std::uint8_t, 256> kNS2Indx = makeNS2Indx();

// Binary-context column by the suffix's symbol count - 1.
constexpr std::array<std::uint8_t, 256> makeNS2BSIndx()
{
    std::array<std::uint8_t, 256> t {};
    t[0] = 0;
    t[1] = 2;
    for (int i = 2; i < 11; ++i)
        t[size_t(i)] = 4;
    for (int i = 11; i < 256; ++i)
        t[size_t(i)] = 6;
    return t;
}
constexpr std::array<std::uint8_t, 256> kNS2BSIndx = makeNS2BSIndx();

// Flag of symbols at 0x40 and above (text versus binary-like data).
constexpr std::array<std::uint8_t, 256> makeHB2Flag()
{
    std::array<std::uint8_t, 256> t {};
    for (int i = 0x40; i < 256; ++i)
        t[size_t(i)] = 0x08;
    return t;
}
constexpr std::array<std::uint8_t, 256> kHB2Flag = makeHB2Flag();

} // namespace ppmdtables
