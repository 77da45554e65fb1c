#include "results/trigeminyanalyzer.h"

static PatternAnalyzer::Pattern trigeminyPattern()
{
    // Columns N, V, other. N N V N N V N N reaches 8; then 9, 7, 8 cycle.
    return { "trigeminy",
        { { 1, 0, 0 }, { 2, 0, 0 }, { 2, 3, 0 }, { 4, 0, 0 }, { 5, 0, 0 }, { 2, 6, 0 }, { 7, 0, 0 },
            { 8, 0, 0 }, { 2, 9, 0 }, { 7, 0, 0 } },
        2, 2.0, 7,
        { -1, -1, -1, -1, -1, -1, -1, PatternAnalyzer::InputN, PatternAnalyzer::InputV,
            PatternAnalyzer::InputN } };
}

TrigeminyAnalyzer::TrigeminyAnalyzer()
    : PatternAnalyzer(trigeminyPattern())
{
}
