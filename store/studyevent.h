#pragma once

#include <QByteArray>
#include <QVector>

// A user's mark on the recording; also carries the print choice of the report.
struct StudyEvent
{
    int index = 0;          // place in the list, from 0
    double position = 0.0;  // seconds from the start of the recording
    double duration = 0.0;  // seconds
    QByteArray description; // UTF-8
    bool print = false;     // the strip at this event goes into the report
    int printLength = 0;

    bool operator==(const StudyEvent& o) const
    {
        return index == o.index && position == o.position && duration == o.duration
            && description == o.description && print == o.print && printLength == o.printLength;
    }
};

// Events in order of insertion.
class StudyEventList
{
public:
    StudyEvent& add();
    int count() const { return m_events.size(); }
    StudyEvent& at(int i) { return m_events[i]; }
    const StudyEvent& at(int i) const { return m_events[i]; }
    // Removes one event and renumbers the rest; out of range does nothing.
    void removeAt(int i);
    void clear() { m_events.clear(); }
    bool operator==(const StudyEventList& o) const { return m_events == o.m_events; }

private:
    QVector<StudyEvent> m_events;
};
