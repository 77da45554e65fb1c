#include "report/placeholdertext.h"

#include <gtest/gtest.h>

using Part = PlaceholderText::Part;

namespace {

struct SplitCase
{
    const char* text;
    QVector<Part> parts;
};

Part lit(const char* t)
{
    return Part { Part::Literal, QString::fromUtf8(t) };
}
Part fld(const char* t)
{
    return Part { Part::Field, QString::fromUtf8(t) };
}
Part ang(const char* t)
{
    return Part { Part::Angle, QString::fromUtf8(t) };
}

class SplitTest : public ::testing::TestWithParam<SplitCase>
{
};

} // namespace

TEST_P(SplitTest, SplitsIntoLiteralsAndPlaceholders)
{
    const SplitCase& c = GetParam();
    const QVector<Part> parts = PlaceholderText::split(QString::fromUtf8(c.text));
    ASSERT_EQ(parts.size(), c.parts.size()) << c.text;
    for (int i = 0; i < parts.size(); ++i) {
        EXPECT_EQ(parts[i].kind, c.parts[i].kind) << c.text << " part " << i;
        EXPECT_EQ(parts[i].text.toStdString(), c.parts[i].text.toStdString()) << c.text;
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, SplitTest,
    ::testing::Values(SplitCase { "", {} }, SplitCase { "plain", { lit("plain") } },
        SplitCase { "[x]", { fld("x") } },
        SplitCase { "Pág. <Page> de <TotalPages>",
            { lit("Pág. "), ang("Page"), lit(" de "), ang("TotalPages") } },
        // A "<" followed by a space is text, while the placeholder beside it is still one.
        SplitCase { "< [limit] ppm", { lit("< "), fld("limit"), lit(" ppm") } },
        SplitCase { "< 40 ppm", { lit("< 40 ppm") } },
        SplitCase { "> [a] s.", { lit("> "), fld("a"), lit(" s.") } },
        SplitCase { "[demo/patient/lastName], [demo/patient/firstName] - Informe",
            { fld("demo/patient/lastName"), lit(", "), fld("demo/patient/firstName"),
                lit(" - Informe") } },
        // Brackets inside an expression belong to it.
        SplitCase { "Total: <Sum([v])>", { lit("Total: "), ang("Sum([v])") } },
        // Unclosed brackets stay text rather than swallowing the rest.
        SplitCase { "a [b", { lit("a [b") } }, SplitCase { "a <b", { lit("a <b") } },
        SplitCase { "x<", { lit("x<") } }, SplitCase { "[]", { fld("") } },
        SplitCase { "[a][b]", { fld("a"), fld("b") } }));

namespace {

struct FormatCase
{
    const char* format;
    const char* value;
    const char* expected; // nullptr: not applied
};

class NumberFormatTest : public ::testing::TestWithParam<FormatCase>
{
};

} // namespace

TEST_P(NumberFormatTest, AppliesPattern)
{
    const FormatCase& c = GetParam();
    QString out = QStringLiteral("untouched");
    const bool applied = PlaceholderText::applyNumberFormat(c.format, c.value, &out);
    if (!c.expected) {
        EXPECT_FALSE(applied) << c.format << " " << c.value;
        EXPECT_EQ(out, QStringLiteral("untouched"));
    } else {
        ASSERT_TRUE(applied) << c.format << " " << c.value;
        EXPECT_EQ(out.toStdString(), std::string(c.expected)) << c.format << " " << c.value;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, NumberFormatTest,
    ::testing::Values(FormatCase { "N# ###.##2", "1234567.891", "1 234 567.89" },
        FormatCase { "N#,###.##2", "1234567.891", "1,234,567.89" },
        FormatCase { "N#.###,##2", "1234567.891", "1.234.567,89" },
        FormatCase { "N#,###.##0", "999.5", "1,000" },
        FormatCase { "N#,###.##1", "-1234.56", "-1,234.6" },
        FormatCase { "N#,###.##2", "-0.001", "0.00" }, FormatCase { "N#,###.##2", "12", "12.00" },
        FormatCase { "N#,###.##2", "123", "123.00" }, FormatCase { "N#,###.##2", "abc", nullptr },
        FormatCase { "", "12", nullptr }, FormatCase { "D#.##2", "12", nullptr },
        FormatCase { "N#,###.##", "12", nullptr }));
