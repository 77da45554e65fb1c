#pragma once

#include <QString>
#include <QtGlobal>

#include <atomic>

// Receives the progress of a long operation (copy, import, compression, processing, results,
// report). Every long operation takes one of these and a CancelFlag, both optional.
class ProgressSink
{
public:
    virtual ~ProgressSink() = default;
    virtual void progress(qint64 position, qint64 total) = 0;
    // The operation moved on to a step with this text ("Processing 2 of 5: Noise checking");
    // a sink that shows only a bar may ignore it.
    virtual void status(const QString& text) { Q_UNUSED(text) }
};

// A stop request polled by long operations at block boundaries; set from anywhere.
using CancelFlag = std::atomic<bool>;

// True when `flag` is given and set.
inline bool isCancelled(const CancelFlag* flag)
{
    return flag && flag->load(std::memory_order_relaxed);
}
