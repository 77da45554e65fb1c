#include "report/placeholdertext.h"

#include <gtest/gtest.h>

using Part = PlaceholderText::Part;

namespace {

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

} // namespace

TEST(PlaceholderText, SplitsIntoLiteralsAndPlaceholders)
{
    const struct
    {
        const char* text;
        QVector<Part> parts;
    } cases[] = {
        { "", {} },
        { "plain", { lit("plain") } },
        { "[x]", { fld("x") } },
        { "Pág. <Page> de <TotalPages>",
            { lit("Pág. "), ang("Page"), lit(" de "), ang("TotalPages") } },
        // A "<" followed by a space is text, while the placeholder beside it is still one.
        { "< [limit] ppm", { lit("< "), fld("limit"), lit(" ppm") } },
        { "< 40 ppm", { lit("< 40 ppm") } },
        // Brackets inside an expression belong to it.
        { "Total: <Sum([v])>", { lit("Total: "), ang("Sum([v])") } },
        // Unclosed brackets stay text rather than swallowing the rest.
        { "a [b", { lit("a [b") } },
        { "a <b", { lit("a <b") } },
        { "x<", { lit("x<") } },
        { "[]", { fld("") } },
        { "[a][b]", { fld("a"), fld("b") } },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const QVector<Part> parts = PlaceholderText::split(QString::fromUtf8(c.text));
        ASSERT_EQ(parts.size(), c.parts.size());
        for (int i = 0; i < parts.size(); ++i) {
            EXPECT_EQ(parts[i].kind, c.parts[i].kind) << "part " << i;
            EXPECT_EQ(parts[i].text.toStdString(), c.parts[i].text.toStdString());
        }
    }
}

TEST(PlaceholderText, NumberFormatsGroupRoundAndRefuseWhatTheyCannotRead)
{
    const struct
    {
        const char* format;
        const char* value;
        const char* expected; // nullptr: not applied
    } cases[] = {
        { "N# ###.##2", "1234567.891", "1 234 567.89" },
        { "N#,###.##2", "1234567.891", "1,234,567.89" },
        { "N#.###,##2", "1234567.891", "1.234.567,89" },
        { "N#,###.##0", "999.5", "1,000" },
        { "N#,###.##1", "-1234.56", "-1,234.6" },
        { "N#,###.##2", "-0.001", "0.00" },
        { "N#,###.##2", "123", "123.00" },
        { "N#,###.##2", "abc", nullptr },
        { "", "12", nullptr },
        { "D#.##2", "12", nullptr },
        { "N#,###.##", "12", nullptr },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.format) + " " + c.value);
        QString out = QStringLiteral("untouched");
        EXPECT_EQ(
            PlaceholderText::applyNumberFormat(c.format, c.value, &out), c.expected != nullptr);
        EXPECT_EQ(out.toStdString(), c.expected ? c.expected : "untouched");
    }
}
