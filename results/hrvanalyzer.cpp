#include "results/hrvanalyzer.h"

#include "results/hrvtimedomain.h"
#include "store/beat.h"

#include <cmath>

namespace {

const char* const kHourTimeTrends[]
    = { "AVGNNPerHour", "SDNNPerHour", "RMSSDPerHour", "PNN50PerHour" };
const char* const kHourSpectralTrends[] = { "ULFPowerPerHour", "VLFPowerPerHour", "LFPowerPerHour",
    "HFPowerPerHour", "totalPowerPerHour", "LFNormPerHour", "HFNormPerHour", "LFHFRatioPerHour" };
const char* const kValues[] = { "AVGNN", "SDNN", "SDANNIndex", "SDNNIndex", "RMSSD", "PNN50",
    "HRVIndex", "TINNIndex", "ULFPower", "VLFPower", "LFPower", "HFPower", "totalPower", "LFNorm",
    "HFNorm", "LFHFRatio" };

} // namespace

void HRVAnalyzer::beginRecording(BeatList& beats)
{
    m_hours = recordingHours(beats);
    m_nnSeries.clear();
    m_nnDiffSeries.clear();
    m_fiveMinuteMeans.configure(300.0, (m_hours * 60) / 5);
    m_fiveMinuteDeviations.configure(300.0, (m_hours * 60) / 5);
    m_lorenz.clear();
    m_previousNN = 0.0;
    m_havePrevious = false;

    makeResult<BinnedCount>("NNCountPerHour")->configure(3600.0, m_hours);
    for (const char* name : kValues)
        makeResult<ValueResult>(name);
    for (const char* name : kHourTimeTrends)
        makeResult<TTrend>(name);
    for (const char* name : kHourSpectralTrends)
        makeResult<TTrend>(name);
    makeResult<ValueArrayResult>("PSD")->values.fill(0.0, HRVSpectrum::kBins);
    makeResult<ValueArrayResult>("NNHistogram")->values.fill(0.0, HRVTimeDomain::kHistogramBins);
    for (const char* name : { "LorenzX", "LorenzY", "LorenzZ" })
        makeResult<ValueArrayResult>(name);
}

void HRVAnalyzer::addBeat(const Beat& beat)
{
    const double rr = beat.rr();
    if (beat.type != BeatN || !(rr > 0.0)) {
        // An ectopic or unknown beat or a break: the next NN needs two N beats again.
        m_havePrevious = false;
        m_previousNN = 0.0;
        return;
    }
    if (m_havePrevious && m_previousNN > 0.0) {
        const double t = beat.windowStartTime();
        result<BinnedCount>("NNCountPerHour")->add(t, 1.0);
        m_nnSeries.add(t, rr);
        m_fiveMinuteMeans.add(t, rr * 1000.0);
        m_fiveMinuteDeviations.add(t, rr * 1000.0);
        m_nnDiffSeries.add(t, rr - m_previousNN);
        ++m_lorenz[{ int(m_previousNN * 1000.0), int(rr * 1000.0) }];
    }
    // The interval ending the first N after a break is not NN; the next one only primes.
    m_previousNN = m_havePrevious ? rr : 0.0;
    m_havePrevious = true;
}

void HRVAnalyzer::finishRecording()
{
    if (m_nnSeries.size() < 2) {
        zeroHours();
        return;
    }
    timeDomain();
    frequencyDomain();
}

void HRVAnalyzer::zeroHours()
{
    for (int k = 0; k < m_hours; ++k) {
        for (const char* name : kHourTimeTrends)
            result<TTrend>(name)->add(3600.0 * k, 0.0);
        for (const char* name : kHourSpectralTrends)
            result<TTrend>(name)->add(3600.0 * k, 0.0);
    }
}

void HRVAnalyzer::timeDomain()
{
    const double end = 3600.0 * m_hours;
    const auto whole = HRVTimeDomain::meanAndDeviation(m_nnSeries, 0.0, end);
    result<ValueResult>("AVGNN")->value = whole.first;
    result<ValueResult>("SDNN")->value = whole.second;
    for (int k = 0; k < m_hours; ++k) {
        const double from = 3600.0 * k;
        const auto hour = HRVTimeDomain::meanAndDeviation(m_nnSeries, from, from + 3600.0);
        result<TTrend>("AVGNNPerHour")->add(from, hour.first);
        result<TTrend>("SDNNPerHour")->add(from, hour.second);
    }

    // SDANN index: population deviation of the five-minute means that hold any NN.
    double sum = 0.0;
    double sumSq = 0.0;
    int n = 0;
    for (int i = 0; i < m_fiveMinuteMeans.size(); ++i) {
        const double v = m_fiveMinuteMeans.valueAt(i);
        if (v > 0.0) {
            sum += v;
            sumSq += v * v;
            ++n;
        }
    }
    if (n > 0) {
        const double mean = sum / n;
        const double bracket = sumSq - mean * sum;
        result<ValueResult>("SDANNIndex")->value = bracket > 0.0 ? std::sqrt(bracket / n) : 0.0;
    }

    // SDNN index: mean of the positive five-minute deviations.
    sum = 0.0;
    n = 0;
    for (int i = 0; i < m_fiveMinuteDeviations.size(); ++i) {
        const double v = m_fiveMinuteDeviations.valueAt(i);
        if (v > 0.0) {
            sum += v;
            ++n;
        }
    }
    result<ValueResult>("SDNNIndex")->value = n > 0 ? sum / n : 0.0;

    const auto successive = HRVTimeDomain::rmssdAndPnn50(m_nnDiffSeries, 0.0, end);
    result<ValueResult>("RMSSD")->value = successive.first;
    result<ValueResult>("PNN50")->value = successive.second;
    for (int k = 0; k < m_hours; ++k) {
        const double from = 3600.0 * k;
        const auto hour = HRVTimeDomain::rmssdAndPnn50(m_nnDiffSeries, from, from + 3600.0);
        result<TTrend>("RMSSDPerHour")->add(from, hour.first);
        result<TTrend>("PNN50PerHour")->add(from, hour.second);
    }

    const std::vector<int> histogram = HRVTimeDomain::histogram(m_nnSeries.values());
    QVector<double>& bins = result<ValueArrayResult>("NNHistogram")->values;
    for (size_t i = 0; i < histogram.size(); ++i)
        bins[int(i)] = histogram[i];
    result<ValueResult>("HRVIndex")->value
        = HRVTimeDomain::triangularIndex(m_nnSeries.size(), histogram);
    result<ValueResult>("TINNIndex")->value = HRVTimeDomain::tinn(histogram);

    QVector<double>& lx = result<ValueArrayResult>("LorenzX")->values;
    QVector<double>& ly = result<ValueArrayResult>("LorenzY")->values;
    QVector<double>& lz = result<ValueArrayResult>("LorenzZ")->values;
    for (const auto& pair : m_lorenz) {
        lx.append(pair.first.first);
        ly.append(pair.first.second);
        lz.append(pair.second);
    }
}

std::vector<double> HRVAnalyzer::nnValues(double from, double to) const
{
    const auto r = HRVTimeDomain::range(m_nnSeries.timestamps(), from, to);
    if (r.second - r.first < 2)
        return {};
    const QVector<double>& v = m_nnSeries.values();
    return std::vector<double>(v.begin() + r.first, v.begin() + r.second);
}

void HRVAnalyzer::frequencyDomain()
{
    HRVSpectrum::Psd psd = HRVSpectrum::spectrum(nnValues(0.0, 3600.0 * m_hours));
    const double sdnn = result<ValueResult>("SDNN")->value;
    HRVSpectrum::normalize(psd, sdnn * sdnn);
    QVector<double>& out = result<ValueArrayResult>("PSD")->values;
    for (int i = 0; i < HRVSpectrum::kBins; ++i)
        out[i] = psd[size_t(i)];
    addBands("", 0.0, HRVSpectrum::bands(psd), false);

    const TTrend* sdnnPerHour = result<TTrend>("SDNNPerHour");
    for (int k = 0; k < m_hours; ++k) {
        const double from = 3600.0 * k;
        HRVSpectrum::Psd hour = HRVSpectrum::spectrum(nnValues(from, from + 3600.0));
        const double sd = sdnnPerHour->valueAt(k);
        HRVSpectrum::normalize(hour, sd * sd);
        addBands("PerHour", from, HRVSpectrum::bands(hour), true);
    }
}

void HRVAnalyzer::addBands(
    const char* suffix, double time, const HRVSpectrum::Bands& bands, bool perHour)
{
    const std::pair<const char*, double> values[] = {
        { "ULFPower", bands.ulf },
        { "VLFPower", bands.vlf },
        { "LFPower", bands.lf },
        { "HFPower", bands.hf },
        { "totalPower", bands.total },
        { "LFNorm", bands.lfNorm() },
        { "HFNorm", bands.hfNorm() },
        { "LFHFRatio", bands.lfHfRatio() },
    };
    for (const auto& v : values) {
        const QByteArray name = QByteArray(v.first) + suffix;
        if (perHour)
            result<TTrend>(name)->add(time, v.second);
        else
            result<ValueResult>(name)->value = v.second;
    }
}
