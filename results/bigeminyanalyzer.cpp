#include "results/bigeminyanalyzer.h"

static PatternAnalyzer::Pattern bigeminyPattern()
{
    // Columns N, V, other. N V N V N reaches 5; 5 and 6 alternate while the pattern holds.
    return { "bigeminy",
        { { 1, 0, 0 }, { 1, 2, 0 }, { 3, 0, 0 }, { 1, 4, 0 }, { 5, 0, 0 }, { 1, 6, 0 },
            { 5, 0, 0 } },
        1, 1.0, 5, { -1, -1, -1, -1, -1, PatternAnalyzer::InputV, PatternAnalyzer::InputN } };
}

BigeminyAnalyzer::BigeminyAnalyzer()
    : PatternAnalyzer(bigeminyPattern())
{
}
