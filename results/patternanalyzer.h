#pragma once

#include "results/resultanalyzer.h"

#include <QByteArray>

#include <array>
#include <vector>

class BinnedCount;

// Recognises a repeating pattern of normal (N) and ventricular (V) beats with a transition
// table; any other beat type, and a break in the sequence, fall back to the start. Bigeminy and
// trigeminy differ only in their tables and in which states open, close and sustain an episode.
class PatternAnalyzer : public ResultAnalyzer
{
public:
    enum Input { InputN = 0, InputV = 1, InputOther = 2 };

    struct Pattern
    {
        QByteArray name; // "bigeminy": results "<name>Count", ...
        std::vector<std::array<int, 3>> table; // next state by (state, input)
        int startState; // state whose beat sets the episode start
        double startSpans; // that start lies this many spans before it
        int endState; // state whose beat sets the episode end
        std::vector<int> sustainingInput; // per state: the input that keeps an episode
                                          // going, -1 where no episode is open
    };

    void beginRecording(BeatList& beats) override;
    void addBeat(const Beat& beat) override;

    int state() const { return m_state; }

protected:
    explicit PatternAnalyzer(Pattern pattern);

private:
    Pattern m_pattern;
    int m_state = 0;
    double m_eventStart = 0.0; // seconds
    double m_eventEnd = 0.0;

    ValueResult* m_count = nullptr; // owned by the result map
    BinnedCount* m_perHour = nullptr;
    EventListResult* m_events = nullptr;
};
