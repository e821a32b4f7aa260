#pragma once

#include <QString>

// How the program reads and tests text typed by the user or sent by the
// service. One rule each, used everywhere.
namespace TextRules {

// Removes blanks (U+0020 only) at both ends.
QString Trim(const QString &text);
// The same for a piece of a longer text: the part of it without the blanks,
// nothing copied.
QStringView Trim(QStringView text);

// Whether the text, less blanks at both ends, is a number: optional sign,
// digits with at most one ".", optional exponent. The empty text is not.
bool IsNumeric(const QString &text);

// The value of the longest numeric prefix after leading blanks; 0 when the
// text starts with no number ("12abc" is 12, "abc" is 0).
double Val(const QString &text);

// The text as a floating-point number; a text that is not numeric raises a
// type-mismatch run-time error.
double ToDouble(const QString &text);

// Val() of a counter caption plus one, written as a plain decimal.
QString Increment(const QString &caption);

} // namespace TextRules
