#include "store/beat.h"

#include "store/signalsource.h"

#include <algorithm>
#include <array>

Beat::Beat()
{
    for (int c = 0; c < kChannels; ++c) {
        for (int k = 0; k < kMeasures; ++k) {
            measure[c][k] = -1.0;
            measureSet[c][k] = false;
        }
    }
}

int Beat::channelCount() const
{
    return source ? std::min(source->channelCount(), int(kChannels)) : 0;
}

double Beat::getTiming(int slot) const
{
    return slot >= 0 && slot < kTimings ? timing[slot] : 0.0;
}

bool Beat::hasTiming(int slot) const
{
    return slot >= 0 && slot < kTimings && timingSet[slot];
}

void Beat::setTiming(int slot, double value)
{
    if (slot < 0 || slot >= kTimings)
        return;
    timing[slot] = value;
    timingSet[slot] = true;
}

// A channel the source doesn't have (or any channel without a source) counts as absent.
static bool validMeasure(const Beat& beat, int channel, int slot)
{
    return channel >= 0 && channel < beat.channelCount() && slot >= 0 && slot < Beat::kMeasures;
}

double Beat::channelMeasure(int channel, int slot) const
{
    return validMeasure(*this, channel, slot) ? measure[channel][slot] : 0.0;
}

bool Beat::hasChannelMeasure(int channel, int slot) const
{
    return validMeasure(*this, channel, slot) && measureSet[channel][slot];
}

void Beat::setChannelMeasure(int channel, int slot, double value)
{
    if (!validMeasure(*this, channel, slot))
        return;
    measure[channel][slot] = value;
    measureSet[channel][slot] = true;
}

bool Beat::operator==(const Beat& other) const
{
    if (index != other.index || source != other.source || windowStart != other.windowStart
        || windowLength != other.windowLength || classId != other.classId || type != other.type
        || isBeat != other.isBeat)
        return false;
    for (int i = 0; i < kTimings; ++i) {
        if (timing[i] != other.timing[i] || timingSet[i] != other.timingSet[i])
            return false;
    }
    for (int c = 0; c < kChannels; ++c) {
        for (int k = 0; k < kMeasures; ++k) {
            if (measure[c][k] != other.measure[c][k] || measureSet[c][k] != other.measureSet[c][k])
                return false;
        }
    }
    return true;
}

namespace BeatTypeNames {

static constexpr int kTypeCount = 5;

// Filled on first use and then only changed through setName.
static std::array<QByteArray, kTypeCount>& table()
{
    static std::array<QByteArray, kTypeCount> names = { "U", "N", "V", "F", "S" };
    return names;
}

QByteArray name(int type)
{
    return type >= 0 && type < kTypeCount ? table()[size_t(type)] : QByteArray();
}

int code(const QByteArray& name)
{
    if (name.isEmpty())
        return -1;
    const auto& names = table();
    for (int i = 0; i < kTypeCount; ++i) {
        if (names[size_t(i)].compare(name, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

bool setName(int type, const QByteArray& name)
{
    if (type < 0 || type >= kTypeCount || name.isEmpty())
        return false;
    const int holder = code(name);
    if (holder >= 0 && holder != type)
        return false;
    table()[size_t(type)] = name;
    return true;
}

} // namespace BeatTypeNames
