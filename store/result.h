#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <memory>

// Numbered as the program and the study file use them.
enum class ResultKind : int { Value = 0, ValueArray = 1, Event = 2, EventList = 3, Trend = 4 };

// The word the study file writes for a kind ("value", "valueArray", ...); empty if unknown.
QByteArray resultKindName(ResultKind kind);

class Result
{
public:
    virtual ~Result() = default;
    int tag() const { return m_tag; }
    ResultKind kind() const { return m_kind; }
    QString label() const { return m_label; }
    // A deep copy of the same concrete class.
    virtual std::unique_ptr<Result> clone() const = 0;

protected:
    Result(ResultKind kind, int tag, const QString& label)
        : m_tag(tag)
        , m_kind(kind)
        , m_label(label)
    {
    }
    Result(const Result&) = default;
    Result& operator=(const Result&) = default;

private:
    int m_tag;
    ResultKind m_kind;
    QString m_label;
};

class ValueResult : public Result
{
public:
    explicit ValueResult(double value = 0.0, int tag = 0, const QString& label = QString())
        : Result(ResultKind::Value, tag, label)
        , value(value)
    {
    }
    std::unique_ptr<Result> clone() const override { return std::make_unique<ValueResult>(*this); }
    double value;
};

class ValueArrayResult : public Result
{
public:
    explicit ValueArrayResult(int tag = 0, const QString& label = QString())
        : Result(ResultKind::ValueArray, tag, label)
    {
    }
    std::unique_ptr<Result> clone() const override
    {
        return std::make_unique<ValueArrayResult>(*this);
    }
    QVector<double> values;
};

class EventResult : public Result
{
public:
    // timestamp and duration in seconds from the start of the recording
    explicit EventResult(double timestamp = 0.0, double duration = 0.0, double value = 0.0,
        int tag = 0, const QString& label = QString())
        : Result(ResultKind::Event, tag, label)
        , timestamp(timestamp)
        , duration(duration)
        , value(value)
    {
    }
    std::unique_ptr<Result> clone() const override { return std::make_unique<EventResult>(*this); }
    double timestamp;
    double duration;
    double value;
};

class EventListResult : public Result
{
public:
    explicit EventListResult(int tag = 0, const QString& label = QString())
        : Result(ResultKind::EventList, tag, label)
    {
    }
    std::unique_ptr<Result> clone() const override
    {
        return std::make_unique<EventListResult>(*this);
    }
    QVector<EventResult> events; // in order of creation
};
