#pragma once

#include "store/signalsource.h"

// A source computed from another one (not owned): it takes the wrapped source's channels, names,
// scale and block length, follows its changes (appends, inversion) and, if the wrapped source
// goes first, reads as empty instead of touching freed memory.
class WrappedSource : public SignalSource, public SignalListener
{
public:
    ~WrappedSource() override;

    SignalSource* wrapped() const { return m_source; }

    void signalChanged(SignalSource* source) override;
    void signalDestroyed(SignalSource* source) override;

protected:
    // `rate` is the wrapper's own sampling rate; the derived constructor calls followCounts().
    WrappedSource(SignalSource* source, int rate);

    // Sets sample and block counts from the wrapped source (or to zero without one).
    virtual void followCounts() = 0;
    // Frees cached output that a change of the wrapped source made stale.
    virtual void dropStaleBlocks() { dropCachedBlocks(); }

    SignalSource* m_source; // not owned; null once it is destroyed
};
