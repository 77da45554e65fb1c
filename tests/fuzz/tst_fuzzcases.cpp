#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <exception>
#include <ostream>
#include <string>

namespace {

struct Outcome
{
    bool returned = false;
    std::string error; // the message of a std::exception
    bool foreign = false; // something else was thrown
};

Outcome replay(const fuzzreaders::Reader& reader, const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        ADD_FAILURE() << "cannot read " << path.toStdString();
    const QByteArray bytes = file.readAll();
    Outcome o;
    try {
        reader.read(bytes);
        o.returned = true;
    } catch (const std::exception& e) {
        o.error = e.what();
    } catch (...) {
        o.foreign = true;
    }
    return o;
}

QStringList filesOf(const QString& folder)
{
    QStringList paths;
    const QDir dir(folder);
    for (const QString& name : dir.entryList(QDir::Files, QDir::Name))
        paths << dir.filePath(name);
    return paths;
}

class FuzzCases : public ::testing::TestWithParam<fuzzreaders::Reader>
{
protected:
    static void TearDownTestSuite() { fuzzsupport::releaseRepository(); }
};

// Every input that once crashed a reader must now get a result or an error with a message a
// user can read. The cases sit in one folder per reader; most readers have none.
TEST(FuzzCaseReplay, CrashingInputsNowGetAnAnswer)
{
    int replayed = 0;
    for (const fuzzreaders::Reader& reader : fuzzreaders::allReaders()) {
        for (const QString& path : filesOf(QString(HOLTER_FUZZ_CASES) + "/" + reader.name)) {
            const Outcome o = replay(reader, path);
            ++replayed;
            EXPECT_FALSE(o.foreign) << path.toStdString() << ": a non-standard exception";
            if (!o.returned && !o.foreign) {
                EXPECT_GT(o.error.size(), 10u) << path.toStdString() << ": \"" << o.error << '"';
            }
        }
    }
    EXPECT_GT(replayed, 0) << "the regression cases are in tests/fuzzcases/<reader>/";
    fuzzsupport::releaseRepository();
}

// The seeds are well-formed files made by the simulator and the store: read without an error.
TEST_P(FuzzCases, SeedsReadWhole)
{
    const QStringList seeds = filesOf(QString(HOLTER_FUZZ_CORPUS) + "/" + GetParam().name);
    ASSERT_FALSE(seeds.isEmpty()) << "fuzz/make-seeds makes them";
    for (const QString& path : seeds) {
        const Outcome o = replay(GetParam(), path);
        EXPECT_TRUE(o.returned) << path.toStdString() << ": " << o.error;
    }
}

INSTANTIATE_TEST_SUITE_P(Readers, FuzzCases, ::testing::ValuesIn(fuzzreaders::allReaders()),
    [](const ::testing::TestParamInfo<fuzzreaders::Reader>& info) {
        return std::string(info.param.name);
    });

} // namespace

namespace fuzzreaders {
// Names the parameter in test listings.
void PrintTo(const Reader& reader, std::ostream* os)
{
    *os << reader.name;
}
} // namespace fuzzreaders
