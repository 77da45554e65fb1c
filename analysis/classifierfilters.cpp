#include "analysis/classifierfilters.h"

#include "analysis/filtertables.h"

static ClassifierSource make(SignalSource* source, std::vector<double> taps, int centre)
{
    ClassifierSource s;
    s.filtered = std::make_unique<FilteredSource>(
        source, std::make_unique<FirBlockFilter>(std::move(taps), centre));
    s.output = std::make_unique<ResampledSource>(s.filtered.get(), 125);
    return s;
}

ClassifierSource makeClassifierLowPass(SignalSource* source)
{
    return make(source, filtertables::classifierLowPass(), 50);
}

ClassifierSource makeClassifierDerivative(SignalSource* source)
{
    return make(source, filtertables::classifierDerivative(), 7);
}
