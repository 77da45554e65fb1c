#pragma once

#include "store/result.h"

#include <QByteArray>

#include <map>
#include <memory>
#include <vector>

class AverageBeatDelineator;
class BeatList;
class RecentBeatWindow;
struct Beat;

// One topic of the results (heart rate, ectopy, HRV...). The driver calls it once before the
// first beat, for every valid beat in time order, every 20 s with an average beat, and once at
// the end; then it takes the results, which the analyzer owns until then.
class ResultAnalyzer
{
public:
    using ResultMap = std::map<QByteArray, std::unique_ptr<Result>>;

    ResultAnalyzer() = default;
    ResultAnalyzer(const ResultAnalyzer&) = delete;
    ResultAnalyzer& operator=(const ResultAnalyzer&) = delete;
    virtual ~ResultAnalyzer() = default;

    // Resets every result and sizes the bins for the recording behind `beats`.
    virtual void beginRecording(BeatList& beats) = 0;
    virtual void addBeat(const Beat&) { }
    // `delineators` has one entry per channel, already run on that channel's average.
    virtual void addAverageBeat(
        double, RecentBeatWindow&, const std::vector<AverageBeatDelineator*>&)
    {
    }
    virtual void finishRecording() { }

    // Results by name ("avgBPM"); the driver prefixes the analyzer's name.
    const ResultMap& results() const { return m_results; }
    ResultMap takeResults() { return std::move(m_results); }

    // Length of the recording behind a beat list in seconds (0 when unknown), and its hour
    // bins by the minutes-rounded rule: (truncate(seconds / 60) + 59) / 60.
    static double recordingSeconds(const BeatList& beats);
    static int recordingHours(const BeatList& beats);
    static int hoursFor(double seconds);
    static int channelCount(const BeatList& beats);

protected:
    // Creates (or replaces) the result under `name` and returns it.
    template <typename T, typename... Args> T* makeResult(const QByteArray& name, Args&&... args)
    {
        auto r = std::make_unique<T>(std::forward<Args>(args)...);
        T* raw = r.get();
        m_results[name] = std::move(r);
        return raw;
    }
    template <typename T> T* result(const QByteArray& name) const
    {
        const auto it = m_results.find(name);
        return it == m_results.end() ? nullptr : dynamic_cast<T*>(it->second.get());
    }

private:
    ResultMap m_results;
};
