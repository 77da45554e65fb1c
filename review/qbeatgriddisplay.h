#pragma once

#include "review/qbeatcelldisplay.h"

#include <QList>
#include <QVector>

class BeatClassSet;
class BeatList;
class SignalSource;

// Single beats as thumbnails cut from the (filtered) signal: the beats of some classes, or of
// one type in a stretch of time. The page's cells shrink as the list grows. The selected beats
// are what the review's beat edits change.
class QBeatGridDisplay : public QBeatCellDisplay
{
    Q_OBJECT
public:
    explicit QBeatGridDisplay(QWidget* parent = nullptr);
    ~QBeatGridDisplay() override;

    // Not owned. A new signal or lead drops the thumbnails.
    void setSignal(SignalSource* source);
    void setBeats(BeatList* beats);
    void setClasses(BeatClassSet* classes);
    void setLead(int lead);

    // The member beats of these classes, in recording order.
    void showClasses(const QList<int>& classIds);
    // The real beats of `type` whose time lies in [offset, offset + length), seconds.
    void showInterval(double offset, double length, int type);
    // Makes a beat of the list current and the whole selection, and scrolls to it; quiet.
    void selectBeat(int id);
    // The selected beat ids, the current one first.
    QList<int> selectedIds() const;
    // Draws every thumbnail again, after the beats were edited.
    void refresh();

    const QVector<int>& beatIds() const { return m_beatIds; }
    int lead() const { return m_lead; }

signals:
    void selectedBeatChanged(int selectedBeatId);

protected:
    int cellCount() const override { return m_beatIds.size(); }
    qint64 cellKey(int index) const override { return m_beatIds.value(index); }
    void drawThumbnail(int index, QPainter* painter, const QRectF& rect) override;
    void currentCellChanged() override;

private:
    void showList(QVector<int> ids);

    SignalSource* m_signal = nullptr; // not owned
    BeatList* m_beats = nullptr; // not owned
    BeatClassSet* m_classes = nullptr; // not owned
    QVector<int> m_beatIds;
    int m_lead = 0;
};
