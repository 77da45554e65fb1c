// Symbol coding of PPMd variant H (D. Shkarin, "PPM: one step to practicality", DCC 2002):
// binary contexts through the adaptive BinSumm estimates, other contexts by frequency, and
// after an escape the masked suffix contexts with SEE escape estimates.
#include "store/ppmdmodel.h"

#include "store/ppmdtables.h"

#include <utility>

using namespace ppmdtables;

namespace {

// The adaptive mean of a binary estimate: its 2^-7 share, rounded.
int binMean(int summ)
{
    return (summ + (1 << (kPeriodBits - 2))) >> kPeriodBits;
}

} // namespace

void PpmdModel::encodeBinSymbol(int symbol)
{
    State* rs = oneState(m_minContext);
    quint16& bs = binSumm(m_minContext);
    if (rs->symbol == symbol) {
        m_foundState = rs;
        rs->freq += (rs->freq < 128);
        m_sub.low = 0;
        m_sub.high = bs;
        bs = quint16(bs + kInterval - binMean(bs));
        m_prevSuccess = 1;
        ++m_runLength;
    } else {
        m_sub.low = bs;
        bs = quint16(bs - binMean(bs));
        m_sub.high = kBinScale;
        m_initEsc = kExpEscape[bs >> 10];
        m_numMasked = 1;
        m_charMask[rs->symbol] = m_escCount;
        m_prevSuccess = 0;
        m_foundState = nullptr;
    }
}

void PpmdModel::decodeBinSymbol(PpmdRangeDecoder& rc)
{
    State* rs = oneState(m_minContext);
    quint16& bs = binSumm(m_minContext);
    if (rc.currentShiftCount(kTotBits) < bs) {
        m_foundState = rs;
        rs->freq += (rs->freq < 128);
        m_sub.low = 0;
        m_sub.high = bs;
        bs = quint16(bs + kInterval - binMean(bs));
        m_prevSuccess = 1;
        ++m_runLength;
    } else {
        m_sub.low = bs;
        bs = quint16(bs - binMean(bs));
        m_sub.high = kBinScale;
        m_initEsc = kExpEscape[bs >> 10];
        m_numMasked = 1;
        m_charMask[rs->symbol] = m_escCount;
        m_prevSuccess = 0;
        m_foundState = nullptr;
    }
}

void PpmdModel::encodeSymbol1(int symbol)
{
    Context* mc = m_minContext;
    m_sub.scale = mc->summFreq;
    State* p = state(mc->stats);
    if (p->symbol == symbol) {
        m_sub.high = p->freq;
        m_prevSuccess = 2 * m_sub.high > m_sub.scale;
        m_runLength += m_prevSuccess;
        m_foundState = p;
        p->freq += 4;
        mc->summFreq += 4;
        if (p->freq > kMaxFreq)
            rescale(mc);
        m_sub.low = 0;
        return;
    }
    m_prevSuccess = 0;
    quint32 loCount = p->freq;
    int i = mc->numStats - 1;
    while ((++p)->symbol != symbol) {
        loCount += p->freq;
        if (--i == 0) {
            // Escape: every symbol of this context is masked below.
            m_hiBitsFlag = kHB2Flag[m_foundState->symbol];
            m_sub.low = loCount;
            m_charMask[p->symbol] = m_escCount;
            i = (m_numMasked = mc->numStats) - 1;
            m_foundState = nullptr;
            do {
                m_charMask[(--p)->symbol] = m_escCount;
            } while (--i);
            m_sub.high = m_sub.scale;
            return;
        }
    }
    m_sub.low = loCount;
    m_sub.high = loCount + p->freq;
    update1(p);
}

bool PpmdModel::decodeSymbol1(PpmdRangeDecoder& rc)
{
    Context* mc = m_minContext;
    m_sub.scale = mc->summFreq;
    State* p = state(mc->stats);
    quint32 count = 0;
    if (!rc.currentCount(m_sub.scale, count))
        return false;
    quint32 hiCount = p->freq;
    if (count < hiCount) {
        m_sub.high = hiCount;
        m_prevSuccess = 2 * hiCount > m_sub.scale;
        m_runLength += m_prevSuccess;
        m_foundState = p;
        p->freq = std::uint8_t(hiCount + 4);
        mc->summFreq += 4;
        if (hiCount + 4 > kMaxFreq)
            rescale(mc);
        m_sub.low = 0;
        return true;
    }
    m_prevSuccess = 0;
    int i = mc->numStats - 1;
    while ((hiCount += (++p)->freq) <= count) {
        if (--i == 0) {
            m_hiBitsFlag = kHB2Flag[m_foundState->symbol];
            m_sub.low = hiCount;
            m_charMask[p->symbol] = m_escCount;
            i = (m_numMasked = mc->numStats) - 1;
            m_foundState = nullptr;
            do {
                m_charMask[(--p)->symbol] = m_escCount;
            } while (--i);
            m_sub.high = m_sub.scale;
            return true;
        }
    }
    m_sub.low = hiCount - p->freq;
    m_sub.high = hiCount;
    update1(p);
    return true;
}

void PpmdModel::encodeSymbol2(int symbol)
{
    Context* mc = m_minContext;
    int i = mc->numStats - m_numMasked;
    See* see = makeEscFreq2(i);
    State* p = state(mc->stats) - 1;
    quint32 hiCount = 0;
    do {
        do {
            ++p;
        } while (m_charMask[p->symbol] == m_escCount);
        hiCount += p->freq;
        if (p->symbol == symbol) {
            m_sub.high = hiCount;
            m_sub.low = hiCount - p->freq;
            State* p1 = p;
            while (--i) {
                do {
                    ++p1;
                } while (m_charMask[p1->symbol] == m_escCount);
                hiCount += p1->freq;
            }
            m_sub.scale += hiCount;
            see->update();
            update2(p);
            return;
        }
        m_charMask[p->symbol] = m_escCount;
    } while (--i);
    m_sub.low = hiCount;
    m_sub.scale += hiCount;
    m_sub.high = m_sub.scale;
    see->summ = quint16(see->summ + m_sub.scale);
    m_numMasked = mc->numStats;
}

bool PpmdModel::decodeSymbol2(PpmdRangeDecoder& rc)
{
    Context* mc = m_minContext;
    int i = mc->numStats - m_numMasked;
    See* see = makeEscFreq2(i);
    State* ps[256];
    int n = 0;
    State* p = state(mc->stats) - 1;
    quint32 hiCount = 0;
    do {
        do {
            ++p;
        } while (m_charMask[p->symbol] == m_escCount);
        hiCount += p->freq;
        ps[n++] = p;
    } while (--i);
    m_sub.scale += hiCount;
    quint32 count = 0;
    if (!rc.currentCount(m_sub.scale, count))
        return false;
    if (count < hiCount) {
        int k = 0;
        p = ps[0];
        hiCount = 0;
        while ((hiCount += p->freq) <= count)
            p = ps[++k];
        m_sub.high = hiCount;
        m_sub.low = hiCount - p->freq;
        see->update();
        update2(p);
    } else {
        m_sub.low = hiCount;
        m_sub.high = m_sub.scale;
        for (int k = 0; k < n; ++k)
            m_charMask[ps[k]->symbol] = m_escCount;
        see->summ = quint16(see->summ + m_sub.scale);
        m_numMasked = mc->numStats;
    }
    return true;
}

bool PpmdModel::encode(PpmdReadByte read, PpmdWriteByte write, void* user, int maxOrder)
{
    if (!m_alloc.isStarted() || maxOrder < kMinOrder || maxOrder > kMaxOrder)
        return false;
    startModel(maxOrder);
    PpmdRangeEncoder rc(write, user);
    for (;;) {
        const int c = read(user); // -1 at the end escapes through every order
        if (m_minContext->numStats != 1) {
            encodeSymbol1(c);
            if (!rc.encode(m_sub.low, m_sub.high, m_sub.scale))
                return false;
        } else {
            encodeBinSymbol(c);
            rc.encodeShift(m_sub.low, m_sub.high, kTotBits);
        }
        while (!m_foundState) {
            rc.normalize();
            do {
                ++m_orderFall;
                m_minContext = context(m_minContext->suffix);
                if (!m_minContext)
                    return rc.flush();
            } while (m_minContext->numStats == m_numMasked);
            encodeSymbol2(c);
            if (!rc.encode(m_sub.low, m_sub.high, m_sub.scale))
                return false;
        }
        nextContext();
        if (!rc.normalize())
            return false;
    }
}

bool PpmdModel::decode(PpmdReadByte read, PpmdWriteByte write, void* user, int maxOrder)
{
    if (!m_alloc.isStarted() || maxOrder < kMinOrder || maxOrder > kMaxOrder)
        return false;
    startModel(maxOrder);
    PpmdRangeDecoder rc(read, user);
    rc.init();
    for (;;) {
        if (m_minContext->numStats != 1) {
            if (!decodeSymbol1(rc))
                return false;
        } else {
            decodeBinSymbol(rc);
        }
        rc.removeSubrange(m_sub.low, m_sub.high);
        while (!m_foundState) {
            rc.normalize();
            do {
                ++m_orderFall;
                m_minContext = context(m_minContext->suffix);
                if (!m_minContext)
                    return !rc.overrun();
            } while (m_minContext->numStats == m_numMasked);
            if (!decodeSymbol2(rc))
                return false;
            rc.removeSubrange(m_sub.low, m_sub.high);
        }
        // A cut stream reads as zeros; stop at once rather than emit what they decode to.
        if (rc.overrun() || !write(user, m_foundState->symbol))
            return false;
        nextContext();
        rc.normalize();
    }
}
