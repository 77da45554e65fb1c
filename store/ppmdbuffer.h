#pragma once

#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <vector>

class PpmdModel;

// PPMd variant H over memory buffers, with the model (and its memory) of the calling thread.
namespace ppmdbuffer {

// Appends the PPMd stream of `data` to `out`. False if the model memory can't be had.
bool encode(PpmdModel& model, const std::uint8_t* data, size_t size, int order, quint32 memoryBytes,
    std::vector<std::uint8_t>& out);

// Decodes one stream from `data`, appending to `out`. False if the stream is cut or corrupt,
// would yield more than `maxOutput` bytes, or memory can't be had. `consumed` tells how many
// bytes of `data` the stream took (streams may follow each other).
bool decode(PpmdModel& model, const std::uint8_t* data, size_t size, int order, quint32 memoryBytes,
    size_t maxOutput, std::vector<std::uint8_t>& out, size_t* consumed = nullptr);

} // namespace ppmdbuffer
