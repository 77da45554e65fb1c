#include "store/ppmdbuffer.h"

#include "store/ppmdmodel.h"

#include <new>

namespace {

struct Buffers
{
    const std::uint8_t* in;
    size_t size;
    size_t pos;
    std::vector<std::uint8_t>* out;
    size_t room; // bytes `out` may still take
};

int readByte(void* user)
{
    auto* b = static_cast<Buffers*>(user);
    return b->pos < b->size ? b->in[b->pos++] : -1;
}

bool writeByte(void* user, quint8 byte)
{
    auto* b = static_cast<Buffers*>(user);
    if (b->room == 0)
        return false;
    --b->room;
    try {
        b->out->push_back(byte);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

} // namespace

namespace ppmdbuffer {

bool encode(PpmdModel& model, const std::uint8_t* data, size_t size, int order, quint32 memoryBytes,
    std::vector<std::uint8_t>& out)
{
    if (!model.startSubAllocator(memoryBytes))
        return false;
    Buffers b { data, size, 0, &out, size_t(-1) };
    const bool ok = model.encode(readByte, writeByte, &b, order);
    model.stopSubAllocator();
    return ok;
}

bool decode(PpmdModel& model, const std::uint8_t* data, size_t size, int order, quint32 memoryBytes,
    size_t maxOutput, std::vector<std::uint8_t>& out, size_t* consumed)
{
    if (!model.startSubAllocator(memoryBytes))
        return false;
    Buffers b { data, size, 0, &out, maxOutput };
    const bool ok = model.decode(readByte, writeByte, &b, order);
    model.stopSubAllocator();
    if (consumed)
        *consumed = b.pos;
    return ok;
}

} // namespace ppmdbuffer
