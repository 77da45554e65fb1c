#pragma once

#include "store/result.h"

#include <QMetaType>
#include <QVector>

#include <memory>

// A time series; the type that travels to the graphics.
class TTrend : public Result
{
public:
    explicit TTrend(int tag = 0, const QString& label = QString())
        : Result(ResultKind::Trend, tag, label)
    {
    }
    std::unique_ptr<Result> clone() const override { return std::make_unique<TTrend>(*this); }

    virtual void clear();
    virtual void add(double timestamp, double value);
    virtual int size() const;
    virtual double timeAt(int index) const;
    virtual double valueAt(int index) const;
    virtual void setValueAt(int index, double value);
    // Largest value, never below 0.0 (an empty or all-negative trend gives 0.0).
    virtual double largestValue() const;

    const QVector<double>& timestamps() const { return m_timestamps; }
    const QVector<double>& values() const { return m_values; }

private:
    QVector<double> m_timestamps;
    QVector<double> m_values;
};
Q_DECLARE_METATYPE(TTrend*)

// Registers "TTrend*" with the meta-object system so a trend can travel in queued signals;
// safe to call any number of times. Returns the type id.
int registerResultTypes();

// One value per fixed time bin measured from the start of the recording.
class BinnedTrend : public TTrend
{
public:
    void configure(double binSeconds, int binCount);

    void clear() override { resetBins(); }
    // Drops a time outside the bins silently.
    void add(double time, double value) override;
    int size() const override { return m_binCount; }
    double timeAt(int index) const override { return index * m_binSeconds; }
    double valueAt(int index) const override;
    void setValueAt(int index, double value) override;
    double largestValue() const override;
    virtual void resetBins();
    virtual void accumulate(int index, double value) = 0;
    virtual int binHits(int index) const;

    double binSeconds() const { return m_binSeconds; }
    int binCount() const { return m_binCount; }

protected:
    BinnedTrend() = default;
    QVector<double> m_binValues;
    QVector<int> m_binHits;

private:
    double m_binSeconds = 1.0;
    int m_binCount = 0;
};

class BinnedCount : public BinnedTrend
{
public:
    std::unique_ptr<Result> clone() const override { return std::make_unique<BinnedCount>(*this); }
    void accumulate(int index, double value) override;
};

class BinnedSum : public BinnedTrend
{
public:
    std::unique_ptr<Result> clone() const override { return std::make_unique<BinnedSum>(*this); }
    void accumulate(int index, double value) override;
};

class BinnedMedian : public BinnedTrend
{
public:
    std::unique_ptr<Result> clone() const override { return std::make_unique<BinnedMedian>(*this); }
    void resetBins() override;
    void accumulate(int index, double value) override;

private:
    QVector<QVector<double>> m_sorted;
};

class BinnedMaximum : public BinnedTrend
{
public:
    std::unique_ptr<Result> clone() const override
    {
        return std::make_unique<BinnedMaximum>(*this);
    }
    void resetBins() override;
    void accumulate(int index, double value) override;

private:
    QVector<bool> m_untouched;
};

class BinnedMinimum : public BinnedTrend
{
public:
    std::unique_ptr<Result> clone() const override
    {
        return std::make_unique<BinnedMinimum>(*this);
    }
    void resetBins() override;
    void accumulate(int index, double value) override;

private:
    QVector<bool> m_untouched;
};

class BinnedMean : public BinnedTrend
{
public:
    std::unique_ptr<Result> clone() const override { return std::make_unique<BinnedMean>(*this); }
    void resetBins() override;
    void accumulate(int index, double value) override;

private:
    QVector<double> m_sum;
    QVector<int> m_n;
};

class BinnedDeviation : public BinnedTrend
{
public:
    std::unique_ptr<Result> clone() const override
    {
        return std::make_unique<BinnedDeviation>(*this);
    }
    void resetBins() override;
    void accumulate(int index, double value) override;

private:
    QVector<double> m_sum;
    QVector<double> m_sumSq;
    QVector<int> m_n;
};
