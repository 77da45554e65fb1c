#pragma once

#include "store/beatlist.h"

#include <vector>

// A beat list held in memory, for detection runs that need no file (tests, evaluation tools).
class MemoryBeatList : public BeatList
{
public:
    int count() const override { return int(m_beats.size()); }
    void clear() override { m_beats.clear(); }
    bool get(int index, Beat& beat) override
    {
        if (index < 0 || index >= count())
            return false;
        beat = m_beats[size_t(index)];
        return true;
    }
    int append(const Beat& beat) override
    {
        m_beats.push_back(beat);
        return count() - 1;
    }
    void replace(const Beat& beat) override
    {
        if (beat.index >= 0 && beat.index < count())
            m_beats[size_t(beat.index)] = beat;
    }
    const std::vector<Beat>& beats() const { return m_beats; }

private:
    std::vector<Beat> m_beats;
};
