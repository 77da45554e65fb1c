#pragma once

#include <QString>
#include <QVector>

// The text grammar of a field's value: literal stretches, "[name]" placeholders the application
// fills, and "<...>" built-ins or script expressions. A "<" followed by a space is plain text, so
// "< 40 ppm" prints as written.
class PlaceholderText
{
public:
    struct Part
    {
        enum Kind { Literal, Field, Angle };
        Kind kind = Literal;
        QString text; // without the brackets for Field and Angle

        bool operator==(const Part& o) const { return kind == o.kind && text == o.text; }
    };

    static QVector<Part> split(const QString& text);

    // Whether the text is exactly one "[name]" placeholder; sets `name` then.
    static bool isSingleField(const QString& text, QString* name = nullptr);

    // The rewrites that turn a template expression into script: aggregates get their kind as a
    // first argument and "[name]" becomes the string '[name]'.
    static QString scriptFromExpression(const QString& expression);

    // Every "[name]" that an aggregate (Sum, Avg, Count) refers to in the text.
    static QStringList aggregateNames(const QString& text);

    // "N<pattern><decimals>" applied to a numeric text; false when the format is not a number
    // format or the text is not a number, leaving `out` untouched.
    static bool applyNumberFormat(const QString& format, const QString& value, QString* out);
};
