#pragma once

#include <QtGlobal>

#include <atomic>

// Receives the progress of a long file operation (copy, import, compression).
class ProgressSink
{
public:
    virtual ~ProgressSink() = default;
    virtual void progress(qint64 position, qint64 total) = 0;
};

// A stop request polled by long operations at block boundaries; set from anywhere.
using CancelFlag = std::atomic<bool>;
