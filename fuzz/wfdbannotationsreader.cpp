// A WFDB annotation stream: decoded, and what decodes must encode and decode to the same.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "recorder/wfdbannotation.h"

#include <cstdlib>

namespace {

void readAnnotations(const QByteArray& input)
{
    const QVector<WfdbAnnotation> annotations = decodeWfdbAnnotations(input, "fuzz.atr");
    QByteArray encoded;
    try {
        encoded = encodeWfdbAnnotations(annotations);
    } catch (const WfdbError&) {
        return; // something the format reads but our writer refuses
    }
    if (decodeWfdbAnnotations(encoded, "again.atr") != annotations)
        std::abort();
}

} // namespace

void fuzzreaders::wfdbannotations(const QByteArray& input)
{
    readAnnotations(input);
}
