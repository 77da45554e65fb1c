#include "tools/simulatorscript.h"

#include <QRegularExpression>
#include <QStringList>

#include <cmath>
#include <iterator>

namespace {

const SimKindInfo kKinds[] = {
    { SimKind::Pvc, "pvc", SimKindClass::Instant, 0, 0, 0, nullptr },
    { SimKind::Couplet, "couplet", SimKindClass::Instant, 0, 0, 0, nullptr },
    { SimKind::Triplet, "triplet", SimKindClass::Instant, 0, 0, 0, nullptr },
    { SimKind::Svpb, "svpb", SimKindClass::Instant, 0, 0, 0, nullptr },
    { SimKind::Fusion, "fusion", SimKindClass::Instant, 0, 0, 0, nullptr },
    { SimKind::Pause, "pause", SimKindClass::Instant, 2.4, 0, 0, nullptr },
    { SimKind::Button, "button", SimKindClass::Instant, 0, 0, 0, nullptr },
    { SimKind::Vt, "vt", SimKindClass::Rhythm, 6, 170, 0, "(VT" },
    { SimKind::Svt, "svt", SimKindClass::Rhythm, 20, 160, 0, "(SVTA" },
    { SimKind::Afib, "afib", SimKindClass::Rhythm, 1800, 100, 0, "(AFIB" },
    { SimKind::Brady, "brady", SimKindClass::Rhythm, 600, 42, 0, "(SBR" },
    { SimKind::Tachy, "tachy", SimKindClass::Rhythm, 600, 125, 0, "(STACH" },
    { SimKind::Bigeminy, "bigeminy", SimKindClass::Rhythm, 60, 0, 0, "(B" },
    { SimKind::Trigeminy, "trigeminy", SimKindClass::Rhythm, 90, 0, 0, "(T" },
    { SimKind::AvBlock, "avblock", SimKindClass::Rhythm, 120, 0, 0, "(BII" },
    { SimKind::StElevation, "st-elevation", SimKindClass::Overlay, 300, 0, 0.2, nullptr },
    { SimKind::StDepression, "st-depression", SimKindClass::Overlay, 300, 0, 0.15, nullptr },
    { SimKind::Muscle, "muscle", SimKindClass::Overlay, 30, 0, 0.08, nullptr },
    { SimKind::Motion, "motion", SimKindClass::Overlay, 10, 0, 0.8, nullptr },
    { SimKind::ElectrodeOff, "electrode-off", SimKindClass::Overlay, 120, 0, 0, nullptr },
    { SimKind::LowBattery, "low-battery", SimKindClass::Overlay, 3600, 0, 0, nullptr },
    { SimKind::SdError, "sd-error", SimKindClass::Overlay, 8, 0, 0, nullptr },
};

class LineError
{
public:
    explicit LineError(const QString& what)
        : message(what)
    {
    }
    QString message;
};

double parseNumber(const QString& text, const QString& what)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        throw LineError(QString("'%1' is not a number (%2)").arg(text, what));
    return value;
}

// "90", "90s", "2.5m", "1h": seconds.
double parseDuration(const QString& text)
{
    static const QRegularExpression re("^([0-9]+(?:\\.[0-9]*)?)([smh]?)$");
    const QRegularExpressionMatch m = re.match(text);
    if (!m.hasMatch())
        throw LineError(QString("'%1' is not a duration (e.g. 30s, 5m, 1.5h)").arg(text));
    const double value = m.captured(1).toDouble();
    const QString unit = m.captured(2);
    return unit == "h" ? value * 3600.0 : unit == "m" ? value * 60.0 : value;
}

// "H:MM:SS" or "H:MM" elapsed, or a duration.
double parseTime(const QString& text)
{
    static const QRegularExpression re("^([0-9]+):([0-5][0-9])(?::([0-5][0-9](?:\\.[0-9]*)?))?$");
    const QRegularExpressionMatch m = re.match(text);
    if (m.hasMatch())
        return m.captured(1).toDouble() * 3600.0 + m.captured(2).toDouble() * 60.0
            + (m.captured(3).isEmpty() ? 0.0 : m.captured(3).toDouble());
    if (text.contains(':'))
        throw LineError(QString("'%1' is not a time (H:MM:SS from the start)").arg(text));
    return parseDuration(text);
}

int parseClockMinute(const QString& text)
{
    const QTime t = QTime::fromString(text, "H:mm");
    if (!t.isValid())
        throw LineError(QString("'%1' is not a clock time (HH:MM)").arg(text));
    return t.hour() * 60 + t.minute();
}

void expectArgs(const QStringList& words, int n)
{
    if (words.size() != n + 1)
        throw LineError(QString("'%1' takes %2 value(s)").arg(words[0]).arg(n));
}

double parseLevel(const QString& text, double lo, double hi, const QString& what)
{
    const double v = parseNumber(text, what);
    if (v < lo || v > hi)
        throw LineError(
            QString("%1 %2 is out of range (%3 to %4)").arg(what, text).arg(lo).arg(hi));
    return v;
}

ScriptItem parseItem(const SimKindInfo& info, const QStringList& words)
{
    ScriptItem item;
    item.kind = info.kind;
    item.duration = info.duration;
    item.rate = info.rate;
    item.level = info.level;
    if (words.size() < 3)
        throw LineError(QString("'%1' needs 'at TIME' or 'count N'").arg(words[0]));
    if (words[1] == "at") {
        item.at = parseTime(words[2]);
    } else if (words[1] == "count") {
        bool ok = false;
        item.count = words[2].toInt(&ok);
        if (!ok || item.count < 0 || item.count > 100000)
            throw LineError(QString("'%1' is not a count (0 to 100000)").arg(words[2]));
    } else {
        throw LineError(
            QString("expected 'at' or 'count' after '%1', found '%2'").arg(words[0], words[1]));
    }
    for (int i = 3; i < words.size(); ++i) {
        const QString& w = words[i];
        if (w == "for") {
            if (i + 1 >= words.size())
                throw LineError("'for' needs a duration");
            item.duration = parseDuration(words[++i]);
            if (item.duration <= 0.0)
                throw LineError("a duration must be above 0");
        } else if (w.startsWith("rate=")) {
            item.rate = parseLevel(w.mid(5), 20, 300, "rate");
        } else if (w.startsWith("level=")) {
            item.level = parseLevel(w.mid(6), 0, 5, "level");
        } else if (w.startsWith("lead=")) {
            item.lead = int(parseLevel(w.mid(5), 1, 3, "lead")) - 1;
        } else {
            throw LineError(QString("unknown word '%1'").arg(w));
        }
    }
    if (info.cls == SimKindClass::Rhythm && info.rate <= 0.0 && item.rate != info.rate)
        throw LineError(QString("'%1' follows the sinus rate and takes no rate").arg(words[0]));
    if (item.kind == SimKind::Pause && item.duration < 1.0)
        throw LineError("a pause lasts at least 1s");
    return item;
}

} // namespace

const SimKindInfo& simKindInfo(SimKind kind)
{
    for (const SimKindInfo& info : kKinds)
        if (info.kind == kind)
            return info;
    return kKinds[0];
}

const SimKindInfo* simKindByName(const QString& name)
{
    for (const SimKindInfo& info : kKinds)
        if (name == QLatin1String(info.name))
            return &info;
    return nullptr;
}

SimulatorScript parseSimulatorScript(const QString& text, const QString& name)
{
    SimulatorScript script;
    const QStringList lines = text.split('\n');
    for (int n = 0; n < lines.size(); ++n) {
        QString line = lines[n];
        const int hash = line.indexOf('#');
        if (hash >= 0)
            line.truncate(hash);
        const QStringList words = line.simplified().split(' ', Qt::SkipEmptyParts);
        if (words.isEmpty())
            continue;
        try {
            const QString& key = words[0];
            if (key == "hours") {
                expectArgs(words, 1);
                script.hours = parseLevel(words[1], 0.001, 168, "hours");
            } else if (key == "start") {
                expectArgs(words, 2);
                script.start
                    = QDateTime::fromString(words[1] + ' ' + words[2], "yyyy-MM-dd HH:mm:ss");
                if (!script.start.isValid())
                    throw LineError("start needs 'yyyy-MM-dd HH:mm:ss'");
            } else if (key == "rate") {
                expectArgs(words, 2);
                script.dayRate = parseLevel(words[1], 30, 200, "day rate");
                script.nightRate = parseLevel(words[2], 30, 200, "night rate");
            } else if (key == "night") {
                expectArgs(words, 2);
                script.nightFromMinute = parseClockMinute(words[1]);
                script.nightToMinute = parseClockMinute(words[2]);
            } else if (key == "wander") {
                expectArgs(words, 1);
                script.wanderMv = parseLevel(words[1], 0, 5, "wander");
            } else if (key == "muscle-noise") {
                expectArgs(words, 1);
                script.muscleMv = parseLevel(words[1], 0, 5, "muscle noise");
            } else if (key == "mains") {
                expectArgs(words, 1);
                script.mainsMv = parseLevel(words[1], 0, 5, "mains");
            } else if (key == "foci") {
                expectArgs(words, 1);
                script.foci = int(parseLevel(words[1], 1, 8, "foci"));
            } else if (key == "recorder") {
                expectArgs(words, 1);
                script.recorderId = words[1];
            } else if (const SimKindInfo* info = simKindByName(key)) {
                ScriptItem item = parseItem(*info, words);
                item.line = n + 1;
                script.items.append(item);
            } else {
                throw LineError(QString("unknown keyword '%1'").arg(key));
            }
        } catch (const LineError& e) {
            throw SimulatorError(QString("%1:%2: %3").arg(name).arg(n + 1).arg(e.message));
        }
    }
    for (int i = 0; i < script.items.size(); ++i) {
        const ScriptItem& item = script.items[i];
        if (item.at >= script.seconds())
            throw SimulatorError(QString("%1:%2: the time lies after the end of the recording")
                                     .arg(name)
                                     .arg(item.line));
        if (item.at < 0.0 || simKindInfo(item.kind).cls != SimKindClass::Rhythm)
            continue;
        // Two rhythms at once can't be drawn; say so rather than pick one silently.
        for (int j = 0; j < i; ++j) {
            const ScriptItem& other = script.items[j];
            if (other.at < 0.0 || simKindInfo(other.kind).cls != SimKindClass::Rhythm)
                continue;
            if (item.at < other.at + other.duration && other.at < item.at + item.duration)
                throw SimulatorError(QString("%1:%2: %3 overlaps %4 of line %5")
                                         .arg(name)
                                         .arg(item.line)
                                         .arg(simKindInfo(item.kind).name)
                                         .arg(simKindInfo(other.kind).name)
                                         .arg(other.line));
        }
    }
    return script;
}

void setSimulationHours(SimulatorScript& script, double hours)
{
    const double ratio = hours / script.hours;
    QVector<ScriptItem> kept;
    for (ScriptItem item : script.items) {
        if (item.at >= hours * 3600.0)
            continue;
        if (item.at < 0.0)
            item.count = int(std::lround(item.count * ratio));
        kept.append(item);
    }
    script.items = kept;
    script.hours = hours;
}

QString defaultSimulatorScript()
{
    return QStringLiteral(R"(# A 24-hour Holter day with every feature the simulator knows.
hours 24
start 2024-01-15 09:00:00
recorder SIM-0001
rate 76 58
night 23:00 06:30
wander 0.08
muscle-noise 0.012
mains 0.01
foci 3

# Ectopy spread over the day
pvc count 420
svpb count 360
fusion count 12
couplet count 30
triplet count 6
vt count 2 for 6s rate=175
vt at 15:42:10 for 12s rate=165
svt count 3 for 25s rate=165
bigeminy count 2 for 80s
trigeminy count 2 for 2m

# Pauses and sinus arrest
pause count 4 for 2.3s
pause at 19:20:00 for 3.4s

# Rate episodes and atrial fibrillation
brady at 18:30:00 for 25m rate=42
tachy at 5:10:00 for 12m rate=128
afib at 21:40:00 for 35m rate=95
afib at 7:20:00 for 14m rate=115
avblock at 20:30:00 for 90s

# Ischaemia
st-depression at 5:13:00 for 8m level=0.15
st-elevation at 2:00:00 for 6m level=0.2

# Artefacts and recorder status
muscle count 25 for 30s level=0.08
motion count 20 for 8s
electrode-off at 3:30:00 for 4m lead=2
button count 3
button at 5:15:00
low-battery at 22:50:00 for 70m
sd-error at 12:00:00 for 8s
)");
}
