#include "store/studyevent.h"

StudyEvent& StudyEventList::add()
{
    StudyEvent e;
    e.index = m_events.size();
    m_events.append(e);
    return m_events.last();
}

void StudyEventList::removeAt(int i)
{
    if (i < 0 || i >= m_events.size())
        return;
    m_events.removeAt(i);
    for (int k = i; k < m_events.size(); ++k)
        m_events[k].index = k;
}
