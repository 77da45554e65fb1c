#pragma once

#include "analysis/filteredsource.h"
#include "analysis/resampledsource.h"

#include <memory>

// One classifier input: a 16-bit filter over the 250 Hz source, brought down to 125 Hz.
struct ClassifierSource
{
    std::unique_ptr<FilteredSource> filtered; // 250 Hz
    std::unique_ptr<ResampledSource> output; // 125 Hz, wraps `filtered`; declared last so it
                                             // goes first
};

// The smoothed signal behind the classifier's reference averages (`source` at 250 Hz, not owned).
ClassifierSource makeClassifierLowPass(SignalSource* source);
// The differentiated signal behind the morphology matcher.
ClassifierSource makeClassifierDerivative(SignalSource* source);
