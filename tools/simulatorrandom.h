#pragma once

#include <cmath>
#include <cstdint>

// Deterministic random numbers for the recording simulator: xoshiro256** (Blackman and Vigna,
// 2018) seeded through splitmix64, with our own uniform and normal transforms. The standard
// distributions are avoided on purpose: their output differs between library versions, and the
// same seed must give the same bytes everywhere.
class SimRandom
{
public:
    // `stream` separates independent sequences drawn from one seed (schedule, rhythm, noise), so
    // that a change in one part of the simulator leaves the others' numbers alone.
    explicit SimRandom(std::uint64_t seed = 1, std::uint64_t stream = 0)
    {
        std::uint64_t x = seed ^ (0x9E3779B97F4A7C15ull * (stream + 1));
        for (std::uint64_t& word : m_s)
            word = splitMix(x);
    }

    std::uint64_t next()
    {
        const std::uint64_t result = rotl(m_s[1] * 5, 7) * 9;
        const std::uint64_t t = m_s[1] << 17;
        m_s[2] ^= m_s[0];
        m_s[3] ^= m_s[1];
        m_s[1] ^= m_s[2];
        m_s[0] ^= m_s[3];
        m_s[2] ^= t;
        m_s[3] = rotl(m_s[3], 45);
        return result;
    }

    // Uniform in [0, 1).
    double uniform() { return double(next() >> 11) * (1.0 / 9007199254740992.0); }
    double uniform(double lo, double hi) { return lo + (hi - lo) * uniform(); }
    // Uniform integer in [0, n); 0 when n is not positive.
    int below(int n) { return n > 0 ? int((next() >> 33) % std::uint64_t(n)) : 0; }
    bool chance(double p) { return uniform() < p; }

    // Standard normal by the Box-Muller transform, keeping the second value of each pair.
    double normal()
    {
        if (m_haveSpare) {
            m_haveSpare = false;
            return m_spare;
        }
        double u = uniform();
        while (u <= 0.0)
            u = uniform();
        const double radius = std::sqrt(-2.0 * std::log(u));
        const double angle = 6.283185307179586 * uniform();
        m_spare = radius * std::sin(angle);
        m_haveSpare = true;
        return radius * std::cos(angle);
    }
    double normal(double mean, double sd) { return mean + sd * normal(); }

private:
    static std::uint64_t rotl(std::uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }
    static std::uint64_t splitMix(std::uint64_t& x)
    {
        std::uint64_t z = (x += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }

    std::uint64_t m_s[4];
    double m_spare = 0.0;
    bool m_haveSpare = false;
};
