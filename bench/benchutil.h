#pragma once

#include <QFile>
#include <QString>

#include <chrono>

namespace bench {

// Peak resident memory of this process in MB (VmHWM), or -1 when unknown.
inline double peakRssMb()
{
    QFile f("/proc/self/status");
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    return -1;
}

// Lets the peak (VmHWM) start again from the current size, so that untimed preparation doesn't
// count; false where the kernel doesn't offer it.
inline bool resetPeakRss()
{
    QFile f("/proc/self/clear_refs");
    return f.open(QIODevice::WriteOnly) && f.write("5") == 1;
}

class Stopwatch
{
public:
    Stopwatch() : m_start(std::chrono::steady_clock::now()) {}
    double seconds() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    }

private:
    std::chrono::steady_clock::time_point m_start;
};

} // namespace bench
