#include "analysis/displayfilterchain.h"

#include "analysis/filtertables.h"

DisplayFilterChain::DisplayFilterChain(SignalSource* source)
    : m_source(source)
{
}

DisplayFilterChain::~DisplayFilterChain()
{
    clear(m_stages);
}

void DisplayFilterChain::clear(std::vector<std::unique_ptr<FilteredSource>>& stages)
{
    // Last first, so each stage still has its wrapped stage to unregister from.
    while (!stages.empty())
        stages.pop_back();
}

SignalSource* DisplayFilterChain::output() const
{
    return m_stages.empty() ? m_source : m_stages.back().get();
}

static std::unique_ptr<BlockFilter> makeIir(const IirTable& t)
{
    return std::make_unique<IirBlockFilter>(t.b, t.a, t.margin, true, 1);
}

void DisplayFilterChain::configure(bool notch, bool lowPass, bool baseline)
{
    std::vector<std::unique_ptr<FilteredSource>> stages;
    if (m_source) {
        const int rate = m_source->samplingRate();
        auto push = [&](std::unique_ptr<BlockFilter> filter) {
            SignalSource* input = stages.empty() ? m_source : stages.back().get();
            stages.push_back(std::make_unique<FilteredSource>(input, std::move(filter)));
        };
        try {
            if (notch) {
                if (const auto table = filtertables::notch50(rate)) {
                    if (m_notchName != QLatin1String("50hz"))
                        throw FilterError("pendiente - filtro no definido");
                    push(makeIir(*table));
                }
            }
            if (lowPass) {
                if (auto taps = filtertables::lowPass(rate, m_lowPassName)) {
                    const int centre = int(taps->size()) / 2;
                    push(std::make_unique<FirBlockFilter>(std::move(*taps), centre));
                }
            }
            if (baseline) {
                if (const auto table = filtertables::baseline(rate, m_source->blockSize()))
                    push(makeIir(*table));
            }
        } catch (...) {
            clear(stages);
            throw;
        }
    }
    clear(m_stages);
    m_stages = std::move(stages);
    m_notch = notch;
    m_lowPass = lowPass;
    m_baseline = baseline;
}
