#pragma once

#include "results/patternanalyzer.h"

// Alternating N V: two full N V pairs and a normal beat open an episode, and each further V N
// keeps it open. Results "bigeminyCount", "bigeminyCountPerHour", "bigeminyEvents".
class BigeminyAnalyzer : public PatternAnalyzer
{
public:
    BigeminyAnalyzer();
};
