#pragma once

#include "results/patternanalyzer.h"

// N N V repeated: N N V N N V N N opens an episode, and each further V N N keeps it open.
// Results "trigeminyCount", "trigeminyCountPerHour", "trigeminyEvents".
class TrigeminyAnalyzer : public PatternAnalyzer
{
public:
    TrigeminyAnalyzer();
};
