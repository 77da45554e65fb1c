#include "report/reportscript.h"

#include <QScriptContext>
#include <QScriptEngine>
#include <QScriptValue>

ReportScript::ReportScript()
    : m_engine(std::make_unique<QScriptEngine>())
{
    QScriptValue sum = m_engine->newFunction(&ReportScript::sumFunction, this);
    m_engine->globalObject().setProperty(QStringLiteral("Sum"), sum);
    setShowInGroup(false);
}

ReportScript::~ReportScript() = default;

void ReportScript::clearAggregates()
{
    m_values.clear();
}

void ReportScript::store(const QString& name, int row, int group, double value)
{
    m_values[name].append(Entry { row, group, value });
}

void ReportScript::setShowInGroup(bool on)
{
    m_showInGroup = on;
    m_engine->globalObject().setProperty(QStringLiteral("showInGroup"), on ? 1 : 0);
}

double ReportScript::aggregate(int kind, const QString& name) const
{
    const QVector<Entry> entries = m_values.value(name);
    double sum = 0.0;
    int n = 0;
    for (const Entry& e : entries) {
        if (m_showInGroup && e.group != m_group)
            continue;
        sum += e.value;
        ++n;
    }
    switch (kind) {
    case AvgKind:
        return n > 0 ? sum / n : 0.0;
    case CountKind:
        return n;
    default:
        return sum;
    }
}

QScriptValue ReportScript::sumFunction(QScriptContext* context, QScriptEngine*, void* self)
{
    if (context->argumentCount() < 2)
        return QScriptValue(0);
    auto* script = static_cast<ReportScript*>(self);
    QString name = context->argument(1).toString().trimmed();
    if (name.startsWith(QLatin1Char('[')) && name.endsWith(QLatin1Char(']')))
        name = name.mid(1, name.size() - 2);
    return QScriptValue(script->aggregate(context->argument(0).toInt32(), name));
}

QString ReportScript::evaluateText(const QString& script, bool* ok)
{
    const QScriptValue v = m_engine->evaluate(script);
    const bool failed = m_engine->hasUncaughtException() || v.isError();
    if (failed)
        m_engine->clearExceptions();
    if (ok)
        *ok = !failed;
    if (failed || v.isUndefined() || v.isNull())
        return QString();
    return v.toString();
}

bool ReportScript::evaluateBool(const QString& script, bool* ok)
{
    const QScriptValue v = m_engine->evaluate(script);
    const bool failed = m_engine->hasUncaughtException() || v.isError();
    if (failed)
        m_engine->clearExceptions();
    if (ok)
        *ok = !failed;
    return !failed && v.toBool();
}
