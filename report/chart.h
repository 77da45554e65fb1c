#pragma once

#include <QColor>
#include <QRectF>
#include <QString>
#include <QVector>

class QPainter;

// The simple bar drawing of a "diagram" field: a title and named graphs with a value and a
// colour, each bar captioned with its name and percentage of the whole.
class Chart
{
public:
    struct Graph
    {
        QString name;
        double value = 0.0;
        QColor color;
    };

    QString title() const { return m_title; }
    void setTitle(const QString& title) { m_title = title; }
    const QVector<Graph>& graphs() const { return m_graphs; }
    void addGraph(const QString& name, double value, const QColor& color);
    void clear() { m_graphs.clear(); }

    // The designer's sample: "Example 1" with "Graph 1" to "Graph 4".
    void loadSampleData();

    // Percent of graph `index` in the sum of positive values; 0 when the sum is not positive.
    double percentage(int index) const;

    void paint(QPainter* painter, const QRectF& bounds) const;

private:
    QString m_title;
    QVector<Graph> m_graphs;
};
