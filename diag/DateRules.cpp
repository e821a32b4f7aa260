#include "DateRules.h"

#include "TextRules.h"

#include <QLocale>
#include <QRegularExpression>
#include <array>

namespace DateRules {
namespace {

int monthFromName(const QString &name)
{
    static const char *const names[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                        "jul", "aug", "sep", "oct", "nov", "dec"};
    const QString lower = name.toLower();
    if (lower.size() < 3)
        return 0;
    for (int i = 0; i < 12; ++i) {
        const QString full = QLocale::c().monthName(i + 1).toLower();
        if (lower.startsWith(QLatin1String(names[i])) && full.startsWith(lower))
            return i + 1;
    }
    return 0;
}

// Two-digit years: 00-29 are this century, 30-99 the last one.
int fullYear(int year, qsizetype digits)
{
    if (digits > 2)
        return year;
    return year < 30 ? 2000 + year : 1900 + year;
}

std::optional<QTime> parseTime(const QString &text)
{
    const QString t = TextRules::Trim(text);
    if (t.isEmpty())
        return QTime(0, 0);
    static const QRegularExpression re(
        QStringLiteral(R"(^(\d{1,2}):(\d{2})(?::(\d{2}))?\s*([AaPp][Mm])?$)"));
    const auto m = re.match(t);
    if (!m.hasMatch())
        return std::nullopt;
    int hour = m.captured(1).toInt();
    const int minute = m.captured(2).toInt();
    const int second = m.captured(3).isEmpty() ? 0 : m.captured(3).toInt();
    const QString half = m.captured(4).toLower();
    if (!half.isEmpty()) {
        if (hour < 1 || hour > 12)
            return std::nullopt;
        hour = (hour % 12) + (half == QLatin1String("pm") ? 12 : 0);
    }
    const QTime time(hour, minute, second);
    if (!time.isValid())
        return std::nullopt;
    return time;
}

// "m/d/yy" or "m/d/yyyy" and nothing else, the way the service writes
// dates: month, day, year and the year's digits, read without the regular
// expressions (whose first use loads and compiles them). The first
// expression below reads such a text the same way.
std::optional<std::array<int, 4>> plainDate(QStringView text)
{
    const auto digits = [](QStringView piece) {
        for (const QChar c : piece) {
            if (c < QLatin1Char('0') || c > QLatin1Char('9'))
                return false;
        }
        return !piece.isEmpty();
    };
    const qsizetype first = text.indexOf(QLatin1Char('/'));
    const qsizetype second = first < 0 ? -1 : text.indexOf(QLatin1Char('/'), first + 1);
    if (second < 0)
        return std::nullopt;
    const QStringView month = text.first(first);
    const QStringView day = text.sliced(first + 1, second - first - 1);
    const QStringView year = text.sliced(second + 1);
    if (!digits(month) || month.size() > 2 || !digits(day) || day.size() > 2 || !digits(year) ||
        (year.size() != 2 && year.size() != 4))
        return std::nullopt;
    return std::array<int, 4>{month.toInt(), day.toInt(), year.toInt(),
                              static_cast<int>(year.size())};
}

} // namespace

std::optional<QDateTime> ParseDate(const QString &text)
{
    if (const auto plain = plainDate(text)) {
        const auto [month, day, year, digits] = *plain;
        const QDate date(fullYear(year, digits), month, day);
        if (month == 0 || !date.isValid())
            return std::nullopt;
        return QDateTime(date, QTime(0, 0));
    }

    static const QRegularExpression numeric(
        QStringLiteral(R"(^\s*(\d{1,2})/(\d{1,2})/(\d{2}|\d{4})(?:\s+(.*))?$)"));
    static const QRegularExpression iso(
        QStringLiteral(R"(^\s*(\d{4})-(\d{1,2})-(\d{1,2})(?:[T\s]+(.*))?$)"));
    static const QRegularExpression monthFirst(
        QStringLiteral(R"(^\s*([A-Za-z]+)\.?\s+(\d{1,2}),?\s+(\d{4})(?:\s+(.*))?$)"));
    static const QRegularExpression dayFirst(
        QStringLiteral(R"(^\s*(\d{1,2})\s+([A-Za-z]+)\.?,?\s+(\d{4})(?:\s+(.*))?$)"));

    int year = 0, month = 0, day = 0;
    QString rest;
    if (auto m = numeric.match(text); m.hasMatch()) {
        month = m.captured(1).toInt();
        day = m.captured(2).toInt();
        year = fullYear(m.captured(3).toInt(), m.capturedLength(3));
        rest = m.captured(4);
    } else if (auto m = iso.match(text); m.hasMatch()) {
        year = m.captured(1).toInt();
        month = m.captured(2).toInt();
        day = m.captured(3).toInt();
        rest = m.captured(4);
    } else if (auto m = monthFirst.match(text); m.hasMatch()) {
        month = monthFromName(m.captured(1));
        day = m.captured(2).toInt();
        year = m.captured(3).toInt();
        rest = m.captured(4);
    } else if (auto m = dayFirst.match(text); m.hasMatch()) {
        day = m.captured(1).toInt();
        month = monthFromName(m.captured(2));
        year = m.captured(3).toInt();
        rest = m.captured(4);
    } else {
        return std::nullopt;
    }
    const QDate date(year, month, day);
    if (month == 0 || !date.isValid())
        return std::nullopt;
    const auto time = parseTime(rest);
    if (!time)
        return std::nullopt;
    return QDateTime(date, *time);
}

QString FormatMmdd(const QDateTime &when)
{
    return QLocale::c().toString(when.date(), QStringLiteral("MMdd"));
}

QString FormatLogStamp(const QDateTime &when)
{
    return QLocale::c().toString(when, QStringLiteral("ddd MMM  d HH:mm:ss"));
}

QString FormatCheckTime(const QDateTime &when)
{
    const QTime t = when.time();
    const int hour12 = t.hour() % 12 == 0 ? 12 : t.hour() % 12;
    return QStringLiteral("%1/%2/%3 %4:%5:%6 %7")
        .arg(when.date().month())
        .arg(when.date().day())
        .arg(when.date().year() % 100, 2, 10, QLatin1Char('0'))
        .arg(hour12)
        .arg(t.minute(), 2, 10, QLatin1Char('0'))
        .arg(t.second(), 2, 10, QLatin1Char('0'))
        .arg(t.hour() < 12 ? QStringLiteral("am") : QStringLiteral("pm"));
}

} // namespace DateRules
