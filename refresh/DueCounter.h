#pragma once

#include <QString>
#include <QtGlobal>

// Counts the ticks of the ten-second refresh timer towards the refresh rate
// the user chose, and says on which tick the public address is due to be
// checked.
class DueCounter
{
public:
    // The interval of the timer that calls Tick(), in milliseconds.
    static constexpr int TickInterval = 10000;

    explicit DueCounter(qint32 ticks = 0) : m_ticks(ticks) {}

    // One tick with the refresh rate in seconds, as its text. A check is due
    // when the ticks counted so far reach rate / 10 - 1; the count then
    // starts again from 0. Every tick adds one afterwards, so the first check
    // comes after `rate` seconds and each later one 10 seconds sooner than
    // the rate (60 checks at 60 s, 110 s, 160 s ...); this shorter period is
    // intended. A rate of 10 or less checks on every tick.
    // A rate text that is not a number raises a type-mismatch error and a
    // count past the 32-bit range an overflow error; neither is caught here.
    bool Tick(const QString &rateText);

private:
    qint32 m_ticks;
};
