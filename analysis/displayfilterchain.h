#pragma once

#include "analysis/filteredsource.h"

#include <QString>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// A filter the chain was asked for but has no table for.
class FilterError : public std::runtime_error
{
public:
    explicit FilterError(const std::string& message)
        : std::runtime_error(message)
    {
    }
};

// The optional viewing filters over a source: mains notch, low-pass and baseline removal, each a
// FilteredSource stacked in that order. Rates without a table get no filter of that kind.
class DisplayFilterChain
{
public:
    // `source` is not owned and must outlive the chain.
    explicit DisplayFilterChain(SignalSource* source);
    ~DisplayFilterChain();
    DisplayFilterChain(const DisplayFilterChain&) = delete;
    DisplayFilterChain& operator=(const DisplayFilterChain&) = delete;

    // Rebuilds the chain. Throws FilterError for a notch name without a table; the previous
    // chain then stays as it was.
    void configure(bool notch, bool lowPass, bool baseline);

    // The last filter of the chain, or the source itself when no filter is on.
    SignalSource* output() const;
    SignalSource* source() const { return m_source; }
    int filterCount() const { return int(m_stages.size()); }

    bool notch() const { return m_notch; }
    bool lowPass() const { return m_lowPass; }
    bool baseline() const { return m_baseline; }

    // Names take effect at the next configure().
    QString notchName() const { return m_notchName; }
    void setNotchName(const QString& name) { m_notchName = name; }
    QString lowPassName() const { return m_lowPassName; }
    void setLowPassName(const QString& name) { m_lowPassName = name; }

private:
    static void clear(std::vector<std::unique_ptr<FilteredSource>>& stages);

    SignalSource* m_source; // not owned
    std::vector<std::unique_ptr<FilteredSource>> m_stages; // each wraps the one before
    bool m_notch = false;
    bool m_lowPass = false;
    bool m_baseline = false;
    QString m_notchName = QStringLiteral("50hz");
    QString m_lowPassName = QStringLiteral("40hz");
};
