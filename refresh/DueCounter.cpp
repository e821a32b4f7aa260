#include "DueCounter.h"

#include "RuntimeError.h"
#include "TextRules.h"

bool DueCounter::Tick(const QString &rateText)
{
    const double threshold = TextRules::ToDouble(rateText) / 10.0 - 1.0;
    const bool due = m_ticks >= threshold;
    if (due)
        m_ticks = 0;
    qint32 next = 0;
    if (__builtin_add_overflow(m_ticks, 1, &next))
        throw RuntimeError::Of(ErrorNumber::Overflow);
    m_ticks = next;
    return due;
}
