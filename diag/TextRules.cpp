#include "TextRules.h"

#include "RuntimeError.h"

#include <QRegularExpression>
#include <utility>

namespace TextRules {
namespace {

const QRegularExpression &numberPrefix()
{
    static const QRegularExpression re(
        QStringLiteral(R"(^[+-]?(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?)"));
    return re;
}

// A whole number in plain digits, a sign allowed in front: what nearly every
// number the program reads looks like. It is told without the regular
// expression (whose first use loads and compiles it); the expression would
// take it whole, as it stands.
bool plainInteger(QStringView text)
{
    qsizetype i = 0;
    if (!text.isEmpty() && (text.front() == QLatin1Char('+') || text.front() == QLatin1Char('-')))
        i = 1;
    if (i == text.size())
        return false;
    for (; i < text.size(); ++i) {
        if (text[i] < QLatin1Char('0') || text[i] > QLatin1Char('9'))
            return false;
    }
    return true;
}

// Whether the expression cannot match at all: it starts with a sign, a digit
// or a point.
bool cannotStartNumber(QStringView text)
{
    if (text.isEmpty())
        return true;
    const QChar c = text.front();
    return c != QLatin1Char('+') && c != QLatin1Char('-') && c != QLatin1Char('.') &&
           (c < QLatin1Char('0') || c > QLatin1Char('9'));
}

// Where the text less its blanks at both ends starts, and how long it is.
std::pair<qsizetype, qsizetype> trimmedPart(QStringView text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == QLatin1Char(' '))
        ++begin;
    while (end > begin && text.at(end - 1) == QLatin1Char(' '))
        --end;
    return {begin, end - begin};
}

} // namespace

QString Trim(const QString &text)
{
    const auto [begin, length] = trimmedPart(text);
    return text.mid(begin, length);
}

QStringView Trim(QStringView text)
{
    const auto [begin, length] = trimmedPart(text);
    return text.sliced(begin, length);
}

bool IsNumeric(const QString &text)
{
    const QString trimmed = Trim(text);
    if (plainInteger(trimmed))
        return true;
    if (cannotStartNumber(trimmed))
        return false;
    const auto match = numberPrefix().match(trimmed);
    return match.hasMatch() && match.capturedLength() == trimmed.size();
}

double Val(const QString &text)
{
    qsizetype begin = 0;
    while (begin < text.size() && text.at(begin) == QLatin1Char(' '))
        ++begin;
    const QString rest = text.mid(begin);
    if (plainInteger(rest))
        return rest.toDouble();
    if (cannotStartNumber(rest))
        return 0.0;
    const auto match = numberPrefix().match(rest);
    if (!match.hasMatch())
        return 0.0;
    // An exponent with no digits after it is not part of the number.
    return match.captured().toDouble();
}

double ToDouble(const QString &text)
{
    if (!IsNumeric(text))
        throw RuntimeError::Of(ErrorNumber::TypeMismatch);
    return Trim(text).toDouble();
}

QString Increment(const QString &caption)
{
    return QString::number(static_cast<qlonglong>(Val(caption)) + 1);
}

} // namespace TextRules
