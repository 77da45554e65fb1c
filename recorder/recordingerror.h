#pragma once

#include <QString>

#include <stdexcept>

// A recording file that can't be imported or written, with the finished message for the user
// (it names the file).
class RecordingError : public std::runtime_error
{
public:
    explicit RecordingError(const QString& message)
        : std::runtime_error(message.toStdString())
    {
    }
};
