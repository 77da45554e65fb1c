#include "report/placeholdertext.h"

#include <QLocale>
#include <QRegularExpression>
#include <QStringList>

#include <cmath>

QVector<PlaceholderText::Part> PlaceholderText::split(const QString& text)
{
    QVector<Part> parts;
    QString literal;
    auto flushLiteral = [&]() {
        if (!literal.isEmpty()) {
            parts.append(Part { Part::Literal, literal });
            literal.clear();
        }
    };
    int i = 0;
    const int n = text.size();
    while (i < n) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('[')) {
            const int close = text.indexOf(QLatin1Char(']'), i + 1);
            if (close > i) {
                flushLiteral();
                parts.append(Part { Part::Field, text.mid(i + 1, close - i - 1) });
                i = close + 1;
                continue;
            }
        } else if (c == QLatin1Char('<') && i + 1 < n && !text.at(i + 1).isSpace()) {
            const int close = text.indexOf(QLatin1Char('>'), i + 1);
            if (close > i + 1) {
                flushLiteral();
                parts.append(Part { Part::Angle, text.mid(i + 1, close - i - 1) });
                i = close + 1;
                continue;
            }
        }
        literal.append(c);
        ++i;
    }
    flushLiteral();
    return parts;
}

bool PlaceholderText::isSingleField(const QString& text, QString* name)
{
    const QVector<Part> parts = split(text.trimmed());
    if (parts.size() != 1 || parts.first().kind != Part::Field)
        return false;
    if (name)
        *name = parts.first().text;
    return true;
}

QString PlaceholderText::scriptFromExpression(const QString& expression)
{
    QString s = expression;
    // Whole words only, so a name such as "checkSum(" is left alone.
    static const QRegularExpression sum(QStringLiteral("\\bSum\\s*\\("));
    static const QRegularExpression avg(QStringLiteral("\\bAvg\\s*\\("));
    static const QRegularExpression count(QStringLiteral("\\bCount\\s*\\("));
    s.replace(sum, QStringLiteral("Sum(0,"));
    s.replace(avg, QStringLiteral("Sum(1,"));
    s.replace(count, QStringLiteral("Sum(2,"));
    s.replace(QLatin1Char('['), QStringLiteral("'["));
    s.replace(QLatin1Char(']'), QStringLiteral("]'"));
    return s;
}

QStringList PlaceholderText::aggregateNames(const QString& text)
{
    static const QRegularExpression ref(
        QStringLiteral("\\b(?:Sum|Avg|Count)\\s*\\(\\s*\\[([^\\]]*)\\]"));
    QStringList names;
    auto it = ref.globalMatch(text);
    while (it.hasNext()) {
        const QString name = it.next().captured(1);
        if (!names.contains(name))
            names.append(name);
    }
    return names;
}

namespace {

// Groups the digits of a non-negative integer text in threes.
QString grouped(const QString& digits, const QString& separator)
{
    if (separator.isEmpty())
        return digits;
    QString out;
    const int n = digits.size();
    for (int i = 0; i < n; ++i) {
        if (i > 0 && (n - i) % 3 == 0)
            out += separator;
        out += digits.at(i);
    }
    return out;
}

} // namespace

bool PlaceholderText::applyNumberFormat(const QString& format, const QString& value, QString* out)
{
    const QString f = format.trimmed();
    if (f.size() < 2 || f.at(0) != QLatin1Char('N') || !f.back().isDigit())
        return false;
    bool ok = false;
    const double v = value.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return false;
    const int decimals = f.back().digitValue();
    const QString pattern = f.mid(1, f.size() - 2);

    if (pattern == QLatin1String("# ###,##")) {
        *out = QLocale(QLocale::French, QLocale::France).toString(v, 'f', decimals);
        return true;
    }
    // The separators are the characters of the pattern that are not digit marks: with two, the
    // first groups thousands and the last is the decimal point; with one, it is the decimal
    // point when there are decimals and the thousands mark otherwise.
    QVector<int> seps;
    for (int i = 0; i < pattern.size(); ++i) {
        if (pattern.at(i) != QLatin1Char('#') && pattern.at(i) != QLatin1Char('0'))
            seps.append(i);
    }
    QString group;
    QString point = QStringLiteral(".");
    if (seps.size() >= 2) {
        group = pattern.at(seps.first());
        point = pattern.at(seps.last());
    } else if (seps.size() == 1) {
        if (decimals > 0)
            point = pattern.at(seps.first());
        else
            group = pattern.at(seps.first());
    }
    const QString fixed = QString::number(std::fabs(v), 'f', decimals);
    const int dot = fixed.indexOf(QLatin1Char('.'));
    const QString intPart = dot < 0 ? fixed : fixed.left(dot);
    const QString frac = dot < 0 ? QString() : fixed.mid(dot + 1);
    // A value that rounds to zero prints without a sign.
    const bool negative = v < 0 && fixed.contains(QRegularExpression(QStringLiteral("[1-9]")));
    QString text = grouped(intPart, group);
    if (!frac.isEmpty())
        text += point + frac;
    *out = negative ? QLatin1Char('-') + text : text;
    return true;
}
