#pragma once

#include "store/beatclass.h"
#include "tests/review/reviewtestutil.h"

#include <QApplication>
#include <QElapsedTimer>

// Helpers of the beat displays' tests: beats the running average accepts, classes built from a
// memory list, and waiting for a grid's thumbnails.
namespace beattest {

// A beat of `source` at `seconds` whose R wave points up on channel 0, with a regular RR of one
// second.
inline Beat averagedBeat(SignalSource* source, int index, double seconds, int type = BeatN)
{
    Beat b = displaytest::beatAt(index, seconds, type, 1.0);
    b.source = source;
    b.setTiming(Beat::MedianRR, 1.0);
    b.setChannelMeasure(0, Beat::HasQrs, 1.0);
    b.setChannelMeasure(0, Beat::RPeak, seconds);
    b.setChannelMeasure(0, Beat::QrsPolarity, 1.0);
    b.setChannelMeasure(0, Beat::QrsDuration, 0.08);
    return b;
}

// A class of the given members (list indices) and type, with a mean RR ratio.
inline BeatClass* addClass(
    BeatClassSet& set, int id, int type, const QVector<int>& members, double meanRrRatio = 1.0)
{
    BeatClass* c = set.create(id);
    c->setType(type);
    for (int m : members)
        c->add(m, false);
    c->meanRrRatio = meanRrRatio;
    return c;
}

// Runs the event loop until `pending()` turns false; false when it took over `ms`.
template <typename Pending> bool waitWhile(const Pending& pending, int ms = 5000)
{
    QElapsedTimer t;
    t.start();
    while (pending()) {
        if (t.elapsed() > ms)
            return false;
        QApplication::processEvents();
    }
    return true;
}

} // namespace beattest
