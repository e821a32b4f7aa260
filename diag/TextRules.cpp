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
    const auto match = numberPrefix().match(trimmed);
    return match.hasMatch() && match.capturedLength() == trimmed.size();
}

double Val(const QString &text)
{
    qsizetype begin = 0;
    while (begin < text.size() && text.at(begin) == QLatin1Char(' '))
        ++begin;
    const auto match = numberPrefix().match(text.mid(begin));
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
