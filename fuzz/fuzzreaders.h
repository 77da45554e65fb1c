#pragma once

// One driver per reader of outside files: each takes arbitrary bytes, hands them to the reader
// the way the program does (through a file where it wants a path) and walks what comes back.
// A std::exception is the reader's proper answer to bad input and passes through; a crash, a
// hang or anything else thrown is a fault. Shared by the libFuzzer targets and the regression
// test that replays every input that ever crashed.

#include <QByteArray>

#include <vector>

namespace fuzzreaders {

void cardfile(const QByteArray& input); // the card's data file
void vtstudy(const QByteArray& input); // a study document, beside a short ECG
void vtecg(const QByteArray& input); // a stored ECG
void vtbeats(const QByteArray& input); // a beats file, against a short ECG
void vtz(const QByteArray& input); // a study archive, imported into a scratch store
void vtecgz(const QByteArray& input); // a compressed ECG
void wfdbheader(const QByteArray& input); // header text, a zero byte, the data file
void wfdbannotations(const QByteArray& input); // an annotation stream
void edf(const QByteArray& input); // an EDF, EDF+ or BDF file
void ishne(const QByteArray& input); // an ISHNE file (the header checksum is made right)

struct Reader
{
    const char* name; // the target's name and the folder of its cases
    void (*read)(const QByteArray&);
};
const std::vector<Reader>& allReaders();

} // namespace fuzzreaders
