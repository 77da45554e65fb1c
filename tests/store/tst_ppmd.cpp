#include "store/differencestream.h"
#include "store/ppmdbuffer.h"
#include "store/ppmdmodel.h"
#include "tests/store/ecgcodecsupport.h"
#include "tests/support/testsupport.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <thread>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr quint32 kMiB = 1u << 20;

Bytes encoded(const Bytes& data, int order = 2, quint32 memory = 16 * kMiB, int* restarts = nullptr)
{
    PpmdModel model;
    Bytes out;
    EXPECT_TRUE(ppmdbuffer::encode(model, data.data(), data.size(), order, memory, out));
    if (restarts)
        *restarts = model.restartCount();
    return out;
}

// Decodes and checks that the stream took exactly its own bytes.
Bytes decoded(const Bytes& packed, int order = 2, quint32 memory = 16 * kMiB)
{
    PpmdModel model;
    Bytes out;
    size_t consumed = 0;
    EXPECT_TRUE(ppmdbuffer::decode(
        model, packed.data(), packed.size(), order, memory, size_t(1) << 28, out, &consumed));
    EXPECT_EQ(consumed, packed.size());
    return out;
}

Bytes randomBytes(size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    Bytes out(n);
    for (auto& b : out)
        b = std::uint8_t(rng());
    return out;
}

// English-like text with a small vocabulary: long repeats that higher orders catch.
Bytes text(size_t n, unsigned seed)
{
    const char* words[] = { "the ", "heart ", "rate ", "of ", "a ", "patient ", "beat ", "normal ",
        "ventricular ", "pause ", "\n" };
    std::mt19937 rng(seed);
    Bytes out;
    while (out.size() < n)
        for (const char* c = words[rng() % 11]; *c; ++c)
            out.push_back(std::uint8_t(*c));
    out.resize(n);
    return out;
}

// The difference stream of a signal, as the codec feeds PPMd.
Bytes differences(const std::vector<qint16>& samples)
{
    Bytes out;
    differencestream::encode(samples.data(), samples.size(), out);
    return out;
}

struct DataCase
{
    const char* name;
    std::function<Bytes()> make;
};

class PpmdRoundTrip : public ::testing::TestWithParam<DataCase>
{
};

TEST_P(PpmdRoundTrip, DecodesWhatWasEncoded)
{
    const Bytes data = GetParam().make();
    const Bytes packed = encoded(data);
    EXPECT_GE(packed.size(), 4u); // at least the flush
    EXPECT_EQ(decoded(packed), data);
}

INSTANTIATE_TEST_SUITE_P(Data, PpmdRoundTrip,
    ::testing::Values(DataCase { "empty", [] { return Bytes(); } },
        DataCase { "one_byte", [] { return Bytes { 0x80 }; } },
        DataCase { "zeros", [] { return Bytes(300000, 0); } },
        DataCase { "text", [] { return text(200000, 1); } },
        DataCase { "random", [] { return randomBytes(300000, 2); } },
        DataCase { "every_value",
            [] {
                Bytes b;
                for (int r = 0; r < 50; ++r)
                    for (int v = 0; v < 256; ++v)
                        b.push_back(std::uint8_t((v * 167 + r) & 0xff));
                return b;
            } },
        DataCase { "simulated_ecg_differences",
            [] { return differences(ecgcodectest::simulatedChannels(150000)[1]); } }),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Ppmd, HigherOrdersRoundTripAndModelMore)
{
    const Bytes data = text(150000, 3);
    size_t order2 = 0;
    for (int order : { 2, 3, 6, 16, 64 }) {
        SCOPED_TRACE(order);
        const Bytes packed = encoded(data, order);
        EXPECT_EQ(decoded(packed, order), data);
        if (order == 2) {
            order2 = packed.size();
        } else {
            EXPECT_LT(packed.size(), order2);
        }
    }
    PpmdModel model;
    Bytes out;
    EXPECT_FALSE(ppmdbuffer::encode(model, data.data(), data.size(), 1, 16 * kMiB, out));
    EXPECT_FALSE(ppmdbuffer::encode(model, data.data(), data.size(), 65, 16 * kMiB, out));
}

TEST(Ppmd, CompressesStructureAndBarelyExpandsNoise)
{
    Bytes periodic;
    for (int i = 0; i < 500000; ++i)
        periodic.push_back(std::uint8_t("abc"[i % 3]));
    EXPECT_LT(encoded(periodic).size(), periodic.size() / 100);
    // Noise costs a few percent more than its size while the order-2 contexts fill.
    const Bytes noise = randomBytes(300000, 4);
    const size_t packed = encoded(noise).size();
    EXPECT_LT(packed, noise.size() * 104 / 100);
    EXPECT_GT(packed, noise.size());
}

TEST(Ppmd, RestartsWhenMemoryFills)
{
    // Order-2 contexts of random bytes need far more than 1 MiB; 16 MiB holds them.
    const Bytes data = randomBytes(1500000, 5);
    int restarts = 0;
    const Bytes small = encoded(data, 2, 1 * kMiB, &restarts);
    EXPECT_GT(restarts, 0);
    EXPECT_EQ(decoded(small, 2, 1 * kMiB), data);
    encoded(data, 2, 16 * kMiB, &restarts);
    EXPECT_EQ(restarts, 0);
    // Structured data between restarts still codes well.
    Bytes mixed = randomBytes(600000, 6);
    const Bytes t = text(400000, 7);
    mixed.insert(mixed.end(), t.begin(), t.end());
    const Bytes packed = encoded(mixed, 2, 1 * kMiB, &restarts);
    EXPECT_GT(restarts, 0);
    EXPECT_EQ(decoded(packed, 2, 1 * kMiB), mixed);
}

TEST(Ppmd, CutAndGarbageStreamsStopCleanly)
{
    const Bytes data = text(50000, 8);
    const Bytes packed = encoded(data);
    for (size_t cut : { size_t(0), size_t(1), size_t(3), size_t(4), size_t(100), packed.size() / 2,
             packed.size() - 2, packed.size() - 1 }) {
        SCOPED_TRACE(cut);
        PpmdModel model;
        Bytes out;
        EXPECT_FALSE(ppmdbuffer::decode(model, packed.data(), cut, 2, 16 * kMiB, 1u << 20, out));
        // What came out before the cut is a prefix of the data.
        ASSERT_LE(out.size(), data.size());
        EXPECT_TRUE(std::equal(out.begin(), out.end(), data.begin()));
    }
    for (unsigned seed = 0; seed < 20; ++seed) {
        const Bytes garbage = randomBytes(2000, 100 + seed);
        PpmdModel model;
        Bytes out;
        const bool ok
            = ppmdbuffer::decode(model, garbage.data(), garbage.size(), 2, 16 * kMiB, 100000, out);
        EXPECT_LE(out.size(), 100000u);
        if (ok) {
            EXPECT_LT(out.size(), 100000u);
        }
    }
    // An output limit stops a valid stream too.
    PpmdModel model;
    Bytes out;
    EXPECT_FALSE(ppmdbuffer::decode(
        model, packed.data(), packed.size(), 2, 16 * kMiB, data.size() - 1, out));
    EXPECT_EQ(out.size(), data.size() - 1);
}

TEST(Ppmd, StreamsBackToBack)
{
    const Bytes a = text(30000, 9), b = randomBytes(20000, 10);
    Bytes both = encoded(a);
    const Bytes pb = encoded(b);
    both.insert(both.end(), pb.begin(), pb.end());
    PpmdModel model;
    Bytes outA, outB;
    size_t usedA = 0, usedB = 0;
    ASSERT_TRUE(
        ppmdbuffer::decode(model, both.data(), both.size(), 2, 16 * kMiB, 1u << 20, outA, &usedA));
    ASSERT_TRUE(ppmdbuffer::decode(
        model, both.data() + usedA, both.size() - usedA, 2, 16 * kMiB, 1u << 20, outB, &usedB));
    EXPECT_EQ(outA, a);
    EXPECT_EQ(outB, b);
    EXPECT_EQ(usedA + usedB, both.size());
}

TEST(Ppmd, ModelsOnParallelThreadsShareNothing)
{
    std::vector<Bytes> inputs { text(200000, 11), randomBytes(200000, 12), text(200000, 13) };
    std::vector<Bytes> alone;
    for (const Bytes& in : inputs)
        alone.push_back(encoded(in, 2, 1 * kMiB));
    std::vector<Bytes> parallel(inputs.size());
    std::vector<std::thread> threads;
    for (size_t i = 0; i < inputs.size(); ++i)
        threads.emplace_back([&, i] {
            PpmdModel model;
            ppmdbuffer::encode(model, inputs[i].data(), inputs[i].size(), 2, 1 * kMiB, parallel[i]);
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(parallel, alone);
}

// The Python module "ppmd" (Debian's python3-ppmd) codes the same variant H model with a
// different range coder, so its stream sizes must come out within a fraction of a percent.
class PpmdCrossCheck : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (const QString& candidate :
            { QString("/usr/bin/python3"), QStandardPaths::findExecutable("python3") }) {
            if (candidate.isEmpty())
                continue;
            QProcess p;
            p.start(candidate, { "-c", "import ppmd" });
            if (p.waitForFinished(30000) && p.exitStatus() == QProcess::NormalExit
                && p.exitCode() == 0) {
                m_python = candidate;
                return;
            }
        }
        GTEST_SKIP() << "python3 with the ppmd module (package python3-ppmd) not found; "
                        "skipping the cross-check";
    }

    // The sizes of the other coder's streams at each order, 16 MiB; empty on failure.
    std::vector<qint64> otherSizes(const Bytes& data, const std::vector<int>& orders = { 2 })
    {
        const QString path = m_dir.file("stream.bin");
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly))
            return {};
        f.write(reinterpret_cast<const char*>(data.data()), qint64(data.size()));
        f.close();
        QStringList args { "-c",
            "import io, sys, ppmd\n"
            "data = open(sys.argv[1], 'rb').read()\n"
            "for order in sys.argv[2:]:\n"
            "    out = io.BytesIO()\n"
            "    enc = ppmd.Ppmd7Encoder(out, int(order), 16 << 20)\n"
            "    enc.encode(data)\n"
            "    enc.flush()\n"
            "    enc.close()\n"
            "    print(len(out.getvalue()))\n",
            path };
        for (int order : orders)
            args << QString::number(order);
        QProcess p;
        p.start(m_python, args);
        if (!p.waitForFinished(300000) || p.exitCode() != 0)
            return {};
        std::vector<qint64> sizes;
        for (const QByteArray& line : p.readAllStandardOutput().trimmed().split('\n'))
            sizes.push_back(line.trimmed().toLongLong());
        return sizes.size() == orders.size() ? sizes : std::vector<qint64>();
    }

    void expectAgreement(const char* what, const std::vector<Bytes>& streams)
    {
        qint64 ours = 0, theirs = 0, raw = 0;
        for (const Bytes& s : streams) {
            const std::vector<qint64> other = otherSizes(s);
            ASSERT_EQ(other.size(), 1u);
            ours += qint64(encoded(s).size());
            theirs += other[0];
            raw += qint64(s.size());
        }
        const double difference = 100.0 * double(ours - theirs) / double(theirs);
        std::printf("[cross-check] %s: %lld difference bytes -> ours %lld, python3-ppmd %lld "
                    "(%+.3f %%)\n",
            what, static_cast<long long>(raw), static_cast<long long>(ours),
            static_cast<long long>(theirs), difference);
        ::testing::Test::RecordProperty(what, QString::number(difference, 'f', 3).toStdString());
        EXPECT_LT(std::abs(difference), 0.5);
    }

    QString m_python;
    testsupport::TempRoot m_dir;
};

TEST_F(PpmdCrossCheck, SimulatedHour)
{
    std::vector<Bytes> streams;
    for (const auto& ch : ecgcodectest::simulatedChannels(3600 * 500))
        streams.push_back(differences(ch));
    expectAgreement("simulated_hour", streams);
}

TEST_F(PpmdCrossCheck, ReferenceRecording)
{
    HOLTER_REQUIRE_SHARED_DATA(data);
    const QString record = data + "/mitdb/101";
    if (!QFile::exists(record + ".hea"))
        GTEST_SKIP() << "record mitdb/101 not found; skipping";
    std::vector<Bytes> streams;
    for (const auto& ch : ecgcodectest::wfdbChannels(record))
        streams.push_back(differences(ch));
    expectAgreement("mitdb_101", streams);
}

// On small inputs the two coders' streams differ only by what their range coders waste, a few
// bytes, at every order. A model that strays (an estimate, a table, an inheritance rule) moves
// them apart by more, in either direction, which the size of a large stream would hide.
TEST_F(PpmdCrossCheck, SmallInputsAgreeToAFewBytesAtEveryOrder)
{
    const std::vector<int> orders { 2, 3, 4, 6, 8, 16, 64 };
    const struct
    {
        const char* name;
        Bytes data;
    } inputs[] = {
        { "text", text(30000, 21) },
        { "text2", text(12000, 22) },
        { "random", randomBytes(20000, 23) },
        { "ecg_differences", differences(ecgcodectest::simulatedChannels(25000)[0]) },
    };
    for (const auto& input : inputs) {
        const std::vector<qint64> theirs = otherSizes(input.data, orders);
        ASSERT_EQ(theirs.size(), orders.size()) << input.name;
        std::string offsets;
        for (size_t i = 0; i < orders.size(); ++i) {
            const qint64 offset = qint64(encoded(input.data, orders[i]).size()) - theirs[i];
            offsets += " " + std::to_string(offset);
            EXPECT_GE(offset, 0) << input.name << " order " << orders[i];
            EXPECT_LE(offset, 7) << input.name << " order " << orders[i];
        }
        std::printf("[cross-check] %s, orders 2-64: ours minus python3-ppmd, bytes:%s\n",
            input.name, offsets.c_str());
    }
}

TEST_F(PpmdCrossCheck, RandomBytes)
{
    expectAgreement("random_bytes", { randomBytes(1000000, 14) });
}

} // namespace
