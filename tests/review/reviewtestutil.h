#pragma once

#include "tests/display/displaytestutil.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>

// A small recording for the review displays' tests: one beat a second with a 1 mV spike at its
// R wave, a type per beat from a pattern, and an insertion point or two.
namespace reviewtest {

constexpr int kRate = 200; // Hz

// `seconds` of one channel at kRate, a 1 mV spike 25 ms wide at every whole second from 1 s.
inline std::unique_ptr<MemorySource> spikeSource(double seconds, int channels = 1)
{
    std::vector<std::vector<qint16>> data;
    data.resize(size_t(channels));
    const qint64 n = qint64(seconds * kRate);
    for (auto& ch : data) {
        ch.resize(size_t(n));
        for (qint64 i = 0; i < n; ++i) {
            // Five samples centred on the second.
            ch[size_t(i)]
                = (i + 2 >= kRate && (i + 2) % kRate < 5) ? displaytest::kOneMillivolt : 0;
        }
    }
    auto s = std::make_unique<MemorySource>(kRate, 1024, data);
    s->setGainRange(-2.0, 2.0);
    return s;
}

// Beats at 1, 2, ... `lastSecond` s, all normal but every fifth ventricular.
inline std::unique_ptr<MemoryBeatList> beatsEverySecond(int lastSecond)
{
    auto list = std::make_unique<MemoryBeatList>();
    for (int s = 1; s <= lastSecond; ++s) {
        const int index = list->count();
        list->append(displaytest::beatAt(index, s, s % 5 == 0 ? BeatV : BeatN, s > 1 ? 1.0 : 0.0));
    }
    return list;
}

inline void sendMouse(QWidget* w, QEvent::Type type, const QPoint& pos, Qt::MouseButton button,
    Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QMouseEvent e(type, QPointF(pos), QPointF(w->mapToGlobal(pos)), button, buttons, modifiers);
    QApplication::sendEvent(w, &e);
}

} // namespace reviewtest
