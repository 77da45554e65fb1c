#pragma once

#include "display/beatmarker.h"

#include <QList>
#include <QWidget>

#include <memory>

class QPixmap;
class RecentBeatWindow;

// The running average beat of one lead on a paper of its own, with the wave markers the
// delineation found and the intervals between them. The user may drag the onsets and ends
// to see other intervals; nothing is recomputed from them. Drawn by AverageBeatPainter into a
// pixmap; paintEvent only blits it.
class QBeatDisplay : public QWidget
{
    Q_OBJECT
public:
    explicit QBeatDisplay(QWidget* parent = nullptr);
    ~QBeatDisplay() override;

    void setAverageBeat(RecentBeatWindow* averageBeat);
    void setLead(int lead);
    // Seconds from the start of the average; an index outside the seven markers does nothing.
    void setMarker(int index, double seconds);
    // Draws the whole picture again (after the average changed) and repaints.
    void redraw();

    RecentBeatWindow* averageBeat() const { return m_averageBeat; }
    int lead() const { return m_lead; }
    const QList<BeatMarker>& markers() const { return m_markers; }
    // The marker the pointer holds, -1 when none.
    int dragged() const { return m_dragged; }
    // The picture as last drawn (for tests and the gallery).
    const QPixmap& picture() const { return *m_pixmap; }

signals:
    void cursorChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    double averageSeconds() const;

    RecentBeatWindow* m_averageBeat = nullptr; // not owned
    int m_lead = 0;
    QList<BeatMarker> m_markers;
    int m_dragged = -1;
    std::unique_ptr<QPixmap> m_pixmap;
};
