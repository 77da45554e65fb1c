#include "analysis/scalewindow.h"

#include "analysis/filteredsource.h"

#include <algorithm>

ScaleWindow::ScaleWindow(int blockLength)
    : m_length(std::max(blockLength, 0))
    , m_data(size_t(3 * m_length), 0.0)
{
}

void ScaleWindow::load(FilteredSourceF64* source, int channel, int block)
{
    for (int slot = 0; slot < 3; ++slot) {
        double* out = m_data.data() + size_t(slot) * size_t(m_length);
        const int b = block - 1 + slot;
        const double* data = (source && b >= 0) ? source->getBlockF64(channel, b) : nullptr;
        if (data) {
            std::copy(data, data + m_length, out);
            source->releaseBlockF64(channel, b);
        } else {
            std::fill(out, out + m_length, 0.0);
        }
    }
}

void ScaleWindow::set(const std::vector<double>& previous, const std::vector<double>& current,
    const std::vector<double>& next)
{
    clear();
    const std::vector<double>* parts[] = { &previous, &current, &next };
    for (int slot = 0; slot < 3; ++slot) {
        const size_t n = std::min(parts[slot]->size(), size_t(m_length));
        std::copy(parts[slot]->begin(), parts[slot]->begin() + long(n),
            m_data.begin() + long(slot) * m_length);
    }
}

void ScaleWindow::clear()
{
    std::fill(m_data.begin(), m_data.end(), 0.0);
}
