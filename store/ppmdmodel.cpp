// Model maintenance of PPMd variant H (D. Shkarin, "PPM: one step to practicality", DCC 2002):
// restart, rescaling, information inheritance for new contexts and the update after a symbol.
#include "store/ppmdmodel.h"

#include "store/ppmdtables.h"

#include <algorithm>
#include <cstring>
#include <utility>

using namespace ppmdtables;

PpmdModel::PpmdModel() = default;
PpmdModel::~PpmdModel() = default;

bool PpmdModel::startSubAllocator(quint32 bytes)
{
    return m_alloc.start(bytes);
}

void PpmdModel::stopSubAllocator()
{
    m_alloc.stop();
}

quint32 PpmdModel::offsetOf(const void* p) const
{
    return p ? quint32(static_cast<const std::uint8_t*>(p) - m_alloc.at(0)) : 0;
}

void PpmdModel::See::init(int initial)
{
    shift = kPeriodBits - 4;
    summ = quint16(initial << shift);
    count = 4;
}

quint32 PpmdModel::See::mean()
{
    const quint32 r = summ >> shift;
    summ = quint16(summ - r);
    return r + (r == 0);
}

void PpmdModel::See::update()
{
    if (shift < kPeriodBits && --count == 0) {
        summ = quint16(summ + summ);
        count = std::uint8_t(3 << shift++);
    }
}

void PpmdModel::startModel(int maxOrder)
{
    m_maxOrder = maxOrder;
    m_restarts = 0;
    m_escCount = 1;
    restartModel();
    m_dummySee.shift = kPeriodBits; // never adapts; its mean is never asked for
    m_dummySee.summ = 0;
    m_dummySee.count = 64;
}

// An empty model: the order-0 context holds all 256 symbols once.
void PpmdModel::restartModel()
{
    std::memset(m_charMask, 0, sizeof(m_charMask));
    m_alloc.init();
    m_initRL = -std::min(m_maxOrder, 12) - 1;
    Context* root = context(m_alloc.allocContext());
    m_minContext = m_maxContext = root;
    root->suffix = 0;
    m_orderFall = m_maxOrder;
    root->numStats = 256;
    root->summFreq = 256 + 1;
    root->stats = m_alloc.allocUnits(256 / 2);
    State* s = state(root->stats);
    m_foundState = s;
    for (int i = 0; i < 256; ++i) {
        s[i].symbol = std::uint8_t(i);
        s[i].freq = 1;
        s[i].successor = 0;
    }
    m_runLength = m_initRL;
    m_prevSuccess = 0;
    for (int i = 0; i < 128; ++i)
        for (int k = 0; k < 8; ++k)
            for (int m = 0; m < 64; m += 8)
                m_binSumm[i][k + m] = quint16(kBinScale - kInitBinEsc[k] / (i + 2));
    for (int i = 0; i < 25; ++i)
        for (int k = 0; k < 16; ++k)
            m_see[i][k].init(5 * i + 10);
}

void PpmdModel::clearMask()
{
    m_escCount = 1;
    std::memset(m_charMask, 0, sizeof(m_charMask));
}

// Halves the frequencies of the current context (keeping them sorted), drops symbols that
// fall to zero and gives the escape half of what it had.
void PpmdModel::rescale(Context* c)
{
    const int oldStats = c->numStats;
    int i = c->numStats - 1;
    State* stats = state(c->stats);
    State* p = m_foundState;
    for (; p != stats; --p)
        std::swap(p[0], p[-1]);
    stats->freq += 4;
    c->summFreq += 4;
    int escFreq = c->summFreq - p->freq;
    const int adder = m_orderFall != 0;
    p->freq = std::uint8_t((p->freq + adder) >> 1);
    c->summFreq = p->freq;
    do {
        ++p;
        escFreq -= p->freq;
        p->freq = std::uint8_t((p->freq + adder) >> 1);
        c->summFreq += p->freq;
        if (p[0].freq > p[-1].freq) {
            const State tmp = *p;
            State* p1 = p;
            do {
                p1[0] = p1[-1];
            } while (--p1 != stats && tmp.freq > p1[-1].freq);
            *p1 = tmp;
        }
    } while (--i);
    if (p->freq == 0) {
        do {
            ++i;
        } while ((--p)->freq == 0);
        escFreq += i;
        c->numStats = quint16(c->numStats - i);
        if (c->numStats == 1) {
            State tmp = *stats;
            do {
                tmp.freq = std::uint8_t(tmp.freq - (tmp.freq >> 1));
                escFreq >>= 1;
            } while (escFreq > 1);
            m_alloc.freeUnits(c->stats, (oldStats + 1) >> 1);
            *oneState(c) = tmp;
            m_foundState = oneState(c);
            return;
        }
    }
    escFreq -= escFreq >> 1;
    c->summFreq = quint16(c->summFreq + escFreq);
    const int n0 = (oldStats + 1) >> 1, n1 = (c->numStats + 1) >> 1;
    if (n0 != n1)
        c->stats = m_alloc.shrinkUnits(c->stats, n0, n1);
    m_foundState = state(c->stats);
}

// Builds the chain of contexts that the found symbol leads to, each new context inheriting
// an initial frequency from its suffix (information inheritance). Null when memory runs out.
PpmdModel::Context* PpmdModel::createSuccessors(bool skip, State* p1)
{
    Context* pc = m_minContext;
    const quint32 upBranch = m_foundState->successor;
    const std::uint8_t symbol = m_foundState->symbol;
    State* ps[kMaxOrder + 1];
    int n = 0;
    bool walk = true;
    if (!skip) {
        ps[n++] = m_foundState;
        walk = pc->suffix != 0;
    }
    if (walk) {
        State* p = p1;
        for (;;) {
            pc = context(pc->suffix);
            if (!p) {
                if (pc->numStats != 1) {
                    p = state(pc->stats);
                    while (p->symbol != symbol)
                        ++p;
                } else {
                    p = oneState(pc);
                }
            }
            if (p->successor != upBranch) {
                pc = context(p->successor);
                break;
            }
            ps[n++] = p;
            p = nullptr;
            if (!pc->suffix)
                break;
        }
    }
    if (n == 0)
        return pc;

    State up;
    up.symbol = *m_alloc.at(upBranch);
    up.successor = upBranch + 1;
    if (pc->numStats != 1) {
        State* p = state(pc->stats);
        while (p->symbol != up.symbol)
            ++p;
        const quint32 cf = p->freq - 1u;
        const quint32 s0 = quint32(pc->summFreq) - pc->numStats - cf;
        up.freq = std::uint8_t(
            1 + ((2 * cf <= s0) ? (5 * cf > s0) : ((2 * cf + 3 * s0 - 1) / (2 * s0))));
    } else {
        up.freq = oneState(pc)->freq;
    }
    do {
        Context* child = context(m_alloc.allocContext());
        if (!child)
            return nullptr;
        child->numStats = 1;
        *oneState(child) = up;
        child->suffix = offsetOf(pc);
        ps[--n]->successor = offsetOf(child);
        pc = child;
    } while (n);
    return pc;
}

// After a symbol: raise it in the suffix context, add it to every context it escaped from,
// and move to the context of the next order.
void PpmdModel::updateModel()
{
    const State fs = *m_foundState;
    State* p = nullptr;
    Context* pc = nullptr;
    quint32 successor = 0;
    quint32 fsSuccessor = fs.successor;

    if (fs.freq < kMaxFreq / 4 && (pc = context(m_minContext->suffix)) != nullptr) {
        if (pc->numStats != 1) {
            p = state(pc->stats);
            if (p->symbol != fs.symbol) {
                do {
                    ++p;
                } while (p->symbol != fs.symbol);
                if (p[0].freq >= p[-1].freq) {
                    std::swap(p[0], p[-1]);
                    --p;
                }
            }
            if (p->freq < kMaxFreq - 9) {
                p->freq += 2;
                pc->summFreq += 2;
            }
        } else {
            p = oneState(pc);
            p->freq += (p->freq < 32);
        }
    }
    if (m_orderFall == 0) {
        m_minContext = m_maxContext = createSuccessors(true, p);
        m_foundState->successor = offsetOf(m_minContext);
        if (!m_minContext)
            goto restart;
        return;
    }
    if (!m_alloc.pushText(fs.symbol))
        goto restart;
    successor = m_alloc.text();
    if (fsSuccessor) {
        if (fsSuccessor <= m_alloc.text()) {
            Context* cs = createSuccessors(false, p);
            if (!cs)
                goto restart;
            fsSuccessor = offsetOf(cs);
        }
        if (--m_orderFall == 0) {
            successor = fsSuccessor;
            if (m_maxContext != m_minContext)
                m_alloc.popText();
        }
    } else {
        m_foundState->successor = successor;
        fsSuccessor = offsetOf(m_minContext);
    }
    {
        const quint32 ns = m_minContext->numStats;
        const quint32 s0 = quint32(m_minContext->summFreq) - ns - (fs.freq - 1u);
        for (pc = m_maxContext; pc != m_minContext; pc = context(pc->suffix)) {
            quint32 ns1 = pc->numStats;
            if (ns1 != 1) {
                if ((ns1 & 1) == 0) {
                    const quint32 grown = m_alloc.expandUnits(pc->stats, int(ns1 >> 1));
                    if (!grown)
                        goto restart;
                    pc->stats = grown;
                }
                pc->summFreq = quint16(pc->summFreq + (2 * ns1 < ns)
                    + 2 * ((4 * ns1 <= ns) & (pc->summFreq <= 8 * ns1)));
            } else {
                const quint32 block = m_alloc.allocUnits(1);
                if (!block)
                    goto restart;
                State* s = state(block);
                *s = *oneState(pc);
                pc->stats = block;
                if (s->freq < kMaxFreq / 4 - 1)
                    s->freq = std::uint8_t(s->freq * 2);
                else
                    s->freq = kMaxFreq - 4;
                pc->summFreq = quint16(s->freq + m_initEsc + (ns > 3));
            }
            quint32 cf = 2 * quint32(fs.freq) * (pc->summFreq + 6u);
            const quint32 sf = s0 + pc->summFreq;
            if (cf < 6 * sf) {
                cf = 1 + (cf > sf) + (cf >= 4 * sf);
                pc->summFreq += 3;
            } else {
                cf = 4 + (cf >= 9 * sf) + (cf >= 12 * sf) + (cf >= 15 * sf);
                pc->summFreq = quint16(pc->summFreq + cf);
            }
            State* added = state(pc->stats) + ns1;
            added->successor = successor;
            added->symbol = fs.symbol;
            added->freq = std::uint8_t(cf);
            pc->numStats = quint16(++ns1);
        }
    }
    m_maxContext = m_minContext = context(fsSuccessor);
    return;

restart:
    ++m_restarts;
    restartModel();
    m_escCount = 0;
}

void PpmdModel::nextContext()
{
    if (m_orderFall == 0 && m_foundState->successor > m_alloc.text()) {
        m_minContext = m_maxContext = context(m_foundState->successor);
    } else {
        updateModel();
        if (m_escCount == 0)
            clearMask();
    }
}

void PpmdModel::update1(State* p)
{
    m_foundState = p;
    p->freq += 4;
    m_minContext->summFreq += 4;
    if (p[0].freq > p[-1].freq) {
        std::swap(p[0], p[-1]);
        m_foundState = --p;
        if (p->freq > kMaxFreq)
            rescale(m_minContext);
    }
}

void PpmdModel::update2(State* p)
{
    m_foundState = p;
    p->freq += 4;
    m_minContext->summFreq += 4;
    if (p->freq > kMaxFreq)
        rescale(m_minContext);
    ++m_escCount;
    m_runLength = m_initRL;
}

PpmdModel::See* PpmdModel::makeEscFreq2(int diff)
{
    Context* mc = m_minContext;
    if (mc->numStats != 256) {
        See* see = &m_see[kNS2Indx[diff - 1]][(diff < context(mc->suffix)->numStats - mc->numStats)
            + 2 * (mc->summFreq < 11 * mc->numStats) + 4 * (m_numMasked > diff) + m_hiBitsFlag];
        m_sub.scale = see->mean();
        return see;
    }
    m_sub.scale = 1;
    return &m_dummySee;
}

quint16& PpmdModel::binSumm(Context* c)
{
    const State* rs = oneState(c);
    m_hiBitsFlag = kHB2Flag[m_foundState->symbol];
    return m_binSumm[rs->freq - 1][m_prevSuccess + kNS2BSIndx[context(c->suffix)->numStats - 1]
        + m_hiBitsFlag + 2 * kHB2Flag[rs->symbol] + ((m_runLength >> 26) & 0x20)];
}
