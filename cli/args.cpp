#include "cli/args.h"

Args::Args(const QStringList& args, const QStringList& valueOptions, const QStringList& flags)
{
    bool onlyPositionals = false;
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if (onlyPositionals || !a.startsWith("--") || a == "-") {
            if (!onlyPositionals && a.startsWith('-') && a.size() > 1 && a != "-")
                throw UsageError(QString("unknown option '%1'").arg(a));
            m_positionals << a;
            continue;
        }
        if (a == "--") {
            onlyPositionals = true;
            continue;
        }
        QString name = a.mid(2);
        QString inlineValue;
        bool hasInline = false;
        const int eq = name.indexOf('=');
        if (eq >= 0) {
            inlineValue = name.mid(eq + 1);
            name = name.left(eq);
            hasInline = true;
        }
        if (valueOptions.contains(name)) {
            if (hasInline) {
                m_values.insert(name, inlineValue);
            } else {
                if (i + 1 >= args.size())
                    throw UsageError(QString("option '--%1' needs a value").arg(name));
                m_values.insert(name, args[++i]);
            }
        } else if (flags.contains(name)) {
            if (hasInline)
                throw UsageError(QString("option '--%1' takes no value").arg(name));
            m_flags.insert(name);
        } else {
            throw UsageError(QString("unknown option '--%1'").arg(name));
        }
    }
}

QString Args::value(const QString& name, const QString& fallback) const
{
    return m_values.contains(name) ? m_values.value(name) : fallback;
}

int Args::intValue(const QString& name, int fallback, int min, int max) const
{
    if (!has(name))
        return fallback;
    bool ok = false;
    const int v = value(name).toInt(&ok);
    if (!ok || v < min || v > max)
        throw UsageError(QString("option '--%1' needs a whole number from %2 to %3, not '%4'")
                             .arg(name).arg(min).arg(max).arg(value(name)));
    return v;
}

double Args::doubleValue(const QString& name, double fallback, double min, double max) const
{
    if (!has(name))
        return fallback;
    bool ok = false;
    const double v = value(name).toDouble(&ok);
    if (!ok || !(v >= min && v <= max))
        throw UsageError(QString("option '--%1' needs a number from %2 to %3, not '%4'")
                             .arg(name).arg(min).arg(max).arg(value(name)));
    return v;
}

void Args::expectPositionals(int min, int max, const QString& what) const
{
    const int n = m_positionals.size();
    if (n < min)
        throw UsageError(QString("missing %1").arg(what));
    if (n > max)
        throw UsageError(QString("unexpected argument '%1'").arg(m_positionals.value(max)));
}
