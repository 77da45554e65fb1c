#pragma once

#include "store/ppmdallocator.h"
#include "store/ppmdrangecoder.h"

#include <QtGlobal>

#include <cstdint>

class PpmdRangeEncoder;
class PpmdRangeDecoder;

// PPMd variant H: PPMII by subsequent order (D. Shkarin, "PPM: one step to practicality",
// DCC 2002), with information inheritance for new contexts, secondary escape estimation (SEE)
// for masked and binary contexts, and a full model restart when the sub-allocator runs out.
//
// All state lives in the instance, with its own sub-allocator, so each thread codes with its
// own model. One instance codes one stream at a time; the model starts afresh for each.
class PpmdModel
{
public:
    static constexpr int kMinOrder = 2;
    static constexpr int kMaxOrder = 64;

    PpmdModel();
    ~PpmdModel();
    PpmdModel(const PpmdModel&) = delete;
    PpmdModel& operator=(const PpmdModel&) = delete;

    // Reserves the model memory (`bytes`, e.g. 16 MiB); false if it can't be had.
    bool startSubAllocator(quint32 bytes);
    void stopSubAllocator();

    // Codes bytes from `read` until it gives -1, then escapes through every order and flushes
    // four bytes. False when `write` refuses a byte or the order is outside 2..64.
    bool encode(PpmdReadByte read, PpmdWriteByte write, void* user, int maxOrder);
    // Decodes until the end-of-data escape. False when the stream is cut or corrupt (it needs
    // bytes past the end of `read`, or makes the coder collapse) or `write` refuses a byte;
    // what was written until then stays written.
    bool decode(PpmdReadByte read, PpmdWriteByte write, void* user, int maxOrder);

    // Model restarts of the last stream because memory ran out.
    int restartCount() const { return m_restarts; }

#pragma pack(push, 1)
    // A symbol of a context, 6 bytes: its frequency and the next context (or a text offset).
    struct __attribute__((__may_alias__)) State
    {
        std::uint8_t symbol;
        std::uint8_t freq;
        quint32 successor;
    };
    // 12 bytes, one unit. With a single symbol its state lies at byte 2, over summFreq and stats.
    struct __attribute__((__may_alias__)) Context
    {
        quint16 numStats;
        quint16 summFreq;
        quint32 stats;
        quint32 suffix;
    };
#pragma pack(pop)

private:
    // Secondary escape estimation context: an adaptive mean of escape frequencies.
    struct See
    {
        quint16 summ;
        std::uint8_t shift;
        std::uint8_t count;
        void init(int initial);
        quint32 mean();
        void update();
    };
    struct SubRange
    {
        quint32 low;
        quint32 high;
        quint32 scale;
    };

    Context* context(quint32 offset)
    {
        return offset ? reinterpret_cast<Context*>(m_alloc.at(offset)) : nullptr;
    }
    State* state(quint32 offset)
    {
        return reinterpret_cast<State*>(m_alloc.at(offset));
    }
    State* oneState(Context* c)
    {
        return reinterpret_cast<State*>(reinterpret_cast<std::uint8_t*>(c) + 2);
    }
    quint32 offsetOf(const void* p) const;

    void startModel(int maxOrder);
    void restartModel();
    void clearMask();
    void rescale(Context* c);
    Context* createSuccessors(bool skip, State* p1);
    void updateModel();
    void nextContext();
    void update1(State* p);
    void update2(State* p);
    See* makeEscFreq2(int diff);
    std::uint16_t& binSumm(Context* c);

    void encodeBinSymbol(int symbol);
    void encodeSymbol1(int symbol);
    void encodeSymbol2(int symbol);
    void decodeBinSymbol(PpmdRangeDecoder& rc);
    bool decodeSymbol1(PpmdRangeDecoder& rc);
    bool decodeSymbol2(PpmdRangeDecoder& rc);

    PpmdAllocator m_alloc;
    Context* m_minContext = nullptr;
    Context* m_maxContext = nullptr;
    State* m_foundState = nullptr;
    int m_numMasked = 0;
    int m_initEsc = 0;
    int m_orderFall = 0;
    int m_runLength = 0;
    int m_initRL = 0;
    int m_maxOrder = kMinOrder;
    int m_restarts = 0;
    std::uint8_t m_escCount = 0;
    std::uint8_t m_prevSuccess = 0;
    std::uint8_t m_hiBitsFlag = 0;
    std::uint8_t m_charMask[256] = {};
    quint16 m_binSumm[128][64] = {};
    See m_see[25][16] = {};
    See m_dummySee = {};
    SubRange m_sub = {};
};
