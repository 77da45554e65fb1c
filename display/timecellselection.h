#pragma once

// A run of whole cells on a time axis cut into cells: an anchor cell that stays put and a head
// that moves as the selection grows or shrinks. Plain moves shift the run keeping its length;
// extending moves the head, so the run grows in the direction of the first step, shrinks when
// a step goes back, and flips side when it passes the anchor.
class TimeCellSelection
{
public:
    TimeCellSelection() = default;

    int firstCell() const { return m_anchor < m_head ? m_anchor : m_head; }
    int lastCell() const { return m_anchor < m_head ? m_head : m_anchor; }
    int lengthCells() const { return lastCell() - firstCell() + 1; }
    // -1 when the head is before the anchor, 1 after it, 0 on it.
    int direction() const { return m_head > m_anchor ? 1 : (m_head < m_anchor ? -1 : 0); }
    int anchor() const { return m_anchor; }
    int head() const { return m_head; }

    // One cell, anchor and head on it.
    void reset(int cell);
    // Shift the run by `cells`, kept inside [0, cellCount).
    void move(int cells, int cellCount);
    // Place the run's first cell at `cell`, keeping its length, kept inside [0, cellCount).
    void moveTo(int cell, int cellCount);
    // Move the head by `cells` (to `cell`), clamped to [0, cellCount).
    void extend(int cells, int cellCount);
    void extendTo(int cell, int cellCount);

    bool operator==(const TimeCellSelection& o) const
    {
        return m_anchor == o.m_anchor && m_head == o.m_head;
    }

private:
    int m_anchor = 0;
    int m_head = 0;
};
