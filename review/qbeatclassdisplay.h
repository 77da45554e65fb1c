#pragma once

#include "review/qbeatcelldisplay.h"

#include <QHash>
#include <QList>
#include <QVector>

#include <functional>
#include <memory>

class BeatClassSet;
class BeatList;
class SignalSource;

// One thumbnail per morphology class of the shown beat type, largest class first: the class's
// mean shape on a lead, its size and how premature its beats come. The user picks classes with
// mouse and keys, or lets "Select similar" add the classes shaped like the current one.
class QBeatClassDisplay : public QBeatCellDisplay
{
    Q_OBJECT
public:
    static constexpr double kSimilarThreshold = 0.85;

    explicit QBeatClassDisplay(QWidget* parent = nullptr);
    ~QBeatClassDisplay() override;

    // The classes of a processed list as a review shows them: one per class id above 0 among
    // the real beats, typed by its first beat, members in record order. Shapes are read from
    // `source`. `progress(done, total)` is called every few thousand records when given.
    static std::unique_ptr<BeatClassSet> classesOf(
        SignalSource* source, BeatList* beats, const std::function<void(int, int)>& progress = {});

    // The classes to show (not owned); read again whenever they are set.
    void setClasses(BeatClassSet* classes);
    void setLead(int lead);
    // Shows the classes of a beat type, the largest one current. With `refresh`, listeners hear
    // of it through selectedClassChanged, so that views of the current class follow.
    void setDisplayType(int type, bool refresh);
    // Makes a class of the list current and the whole selection; quiet.
    void selectClass(int id);
    // Adds the classes of the list whose shape and size are like the current class's.
    void selectSimilar(double threshold = kSimilarThreshold);

    // The selected class ids, the current one first.
    QList<int> selectedClassIds() const;
    // The current class id, -1 when none.
    int selectedClass() const;

    BeatClassSet* classes() const { return m_classSet; }
    // The ids shown, in cell order.
    const QVector<int>& classIds() const { return m_classes; }
    int displayType() const { return m_displayType; }
    int lead() const { return m_lead; }

signals:
    void selectedClassChanged(int selectedClassId);

protected:
    int cellCount() const override { return m_classes.size(); }
    qint64 cellKey(int index) const override { return m_classes.value(index); }
    void drawThumbnail(int index, QPainter* painter, const QRectF& rect) override;
    void currentCellChanged() override;

private:
    void readClasses();
    // The mean shape of a class on the lead, cached by id until the lead or the classes change.
    const QVector<double>& shapeOf(int id);

    BeatClassSet* m_classSet = nullptr; // not owned
    QVector<int> m_classes;
    int m_displayType = 1;
    int m_lead = 0;
    QHash<int, QVector<double>> m_shapes;
};
