#pragma once

#include <vector>

// What the interval and ST analyzers read of one 20-second average beat. The driver's
// accumulator is copied into this plain value so that the measuring code (and its tests) need
// nothing but numbers.
struct AverageBeatSnapshot
{
    int averagedBeatCount = 0; // beats accepted into the average
    double averageRR = 0.0; // their mean RR, seconds
    int sampleRate = 0; // samples per second of the averaged arrays
    double millivoltsPerUnit = 0.0; // gain of one sample step
    std::vector<std::vector<double>> channels; // averaged samples, one array per channel
};
