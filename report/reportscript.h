#pragma once

#include <QHash>
#include <QString>
#include <QVector>

#include <memory>

class QScriptContext;
class QScriptEngine;
class QScriptValue;

// The script side of a report: evaluates expressions of "<...>" placeholders, printing
// conditions and highlighting rules, and answers the aggregate `Sum(kind, '[name]')` from the
// values stored during the data rows. Kinds: 0 sum, 1 mean, 2 count.
class ReportScript
{
public:
    enum AggregateKind { SumKind = 0, AvgKind = 1, CountKind = 2 };

    ReportScript();
    ~ReportScript();
    ReportScript(const ReportScript&) = delete;
    ReportScript& operator=(const ReportScript&) = delete;

    void clearAggregates();
    // Keeps one row's value of a field that an aggregate refers to.
    void store(const QString& name, int row, int group, double value);
    void setCurrentGroup(int group) { m_group = group; }
    // Seen by scripts as the global `showInGroup`; limits aggregates to the current group.
    void setShowInGroup(bool on);

    double aggregate(int kind, const QString& name) const;

    // The script's result as text; empty on a script error, with `ok` false.
    QString evaluateText(const QString& script, bool* ok = nullptr);
    // The script's result as a truth value; false on a script error.
    bool evaluateBool(const QString& script, bool* ok = nullptr);

private:
    static QScriptValue sumFunction(QScriptContext* context, QScriptEngine* engine, void* self);

    struct Entry
    {
        int row;
        int group;
        double value;
    };

    std::unique_ptr<QScriptEngine> m_engine;
    QHash<QString, QVector<Entry>> m_values;
    int m_group = 0;
    bool m_showInGroup = false;
};
