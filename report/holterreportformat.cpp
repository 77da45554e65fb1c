#include "report/holterreportformat.h"

#include <QByteArray>

#include <cmath>

namespace HolterReportFormat {

QString missing()
{
    return QStringLiteral("-");
}

QString hoursMinutes(double seconds)
{
    const qint64 s = seconds > 0.0 ? qint64(seconds) : 0;
    return QStringLiteral("%1 h. %2 m.").arg(s / 3600).arg((s / 60) % 60);
}

QString bodyMassIndex(double weightKg, double heightCm)
{
    if (!(heightCm > 0.0) || !(weightKg > 0.0))
        return QString();
    const double metres = heightCm * 0.01;
    return QString::number(weightKg / (metres * metres), 'f', 1);
}

QString countWithPercent(bool hasCount, double count, bool hasTotal, double total)
{
    if (!hasCount || count == 0.0)
        return missing();
    const int c = int(count);
    if (!hasTotal || !(total > 0.0))
        return QString::number(c);
    const double percent = c * 100.0 / total;
    if (percent < 0.1)
        return QStringLiteral("%1 (< 0.1%)").arg(c);
    return QString::asprintf("%d (%.1f%%)", c, percent);
}

QString afibTotal(bool hasTime, double seconds, double durationSeconds)
{
    if (!hasTime || !(seconds > 0.0))
        return missing();
    const qint64 t = qint64(seconds);
    QString text = t < 600 ? QString::asprintf("%d m. %d s. ", int(t / 60), int(t % 60))
                           : QString::asprintf("%d h. %d m. ", int(t / 3600), int((t / 60) % 60));
    const int percent = durationSeconds > 0.0 ? int(seconds * 100.0 / durationSeconds) : 0;
    text += percent == 0 ? QStringLiteral("(< 1%)") : QStringLiteral("(%1%)").arg(percent);
    return text;
}

QString clock(const QDateTime& start, double seconds, const QString& format)
{
    if (!start.isValid())
        return QString();
    return start.addMSecs(qint64(std::llround(seconds * 1000.0))).toString(format);
}

QString pause(const QDateTime& start, double timestamp, double durationSeconds)
{
    return QStringLiteral("%1 s. [%2]")
        .arg(QString::number(durationSeconds, 'f', 1),
            clock(start, timestamp, QStringLiteral("d/M HH:mm")));
}

QString number(const QString& printfFormat, double value)
{
    return QString::asprintf(printfFormat.toLatin1().constData(), value);
}

QDateTime startOf(const QByteArray& studyDateTime)
{
    QDateTime t = QDateTime::fromString(
        QString::fromLatin1(studyDateTime), QStringLiteral("yyyyMMddHHmmss"));
    if (!t.isValid())
        return QDateTime();
    t.setTime(QTime(t.time().hour(), t.time().minute()));
    return t;
}

} // namespace HolterReportFormat
