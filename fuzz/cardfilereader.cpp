// The memory card's data file: the offset search, then every block's samples and status word,
// with and without a channel inverted.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "recorder/cardsignalfile.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int kMaxBlocks = 24; // more says nothing new and slows every run

void readCard(const QByteArray& input)
{
    const QString path = fuzzsupport::writeScratch("HECG.VTF", input);
    qint64 offset = CardSignalFile::findDataOffsetIn(input.left(CardSignalFile::kSearchBytes));
    if (offset >= 0) {
        if (CardSignalFile::findDataOffset(fuzzsupport::scratchPath("")) != offset)
            std::abort();
    } else if (!input.isEmpty()) {
        // A file too short or too damaged for the search is still read from some offset, so
        // that small inputs reach the blocks and status words too.
        offset = 2 * quint8(input[0]);
    }
    CardSignalFile card(path, offset);
    const int blocks = std::min(kMaxBlocks, card.blockCount() + 2);
    for (int pass = 0; pass < 2; ++pass) {
        for (int b = -1; b < blocks; ++b) {
            card.statusWord(b);
            for (int c = 0; c < card.channelCount(); ++c)
                if (card.getBlock(c, b))
                    card.releaseBlock(c, b);
        }
        card.sampleAt(0, card.sampleCount() - 1);
        card.setInverted(1, true);
    }
}

} // namespace

void fuzzreaders::cardfile(const QByteArray& input)
{
    readCard(input);
}
