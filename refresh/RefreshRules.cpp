#include "RefreshRules.h"

#include "RuntimeError.h"
#include "TextRules.h"
#include "basDNS.h"

#include <limits>

namespace RefreshRules {
namespace {

const QString PortRelay = QStringLiteral("PORT RELAY");

// A whole number with at least two digits, the sign in front ("05", "-05").
QString twoDigits(qint64 value)
{
    const QString digits = QStringLiteral("%1").arg(qAbs(value), 2, 10, QLatin1Char('0'));
    return value < 0 ? QLatin1Char('-') + digits : digits;
}

} // namespace

bool IsAutoIPRow(const GridRow &row)
{
    return row.autoIP.toUpper() == QLatin1String("YES");
}

QString RecordName(const QString &host, const QString &domain)
{
    return host.isEmpty() || host == QLatin1String("@") ? domain : host + QLatin1Char('.') + domain;
}

QString HostToSend(const QString &host)
{
    if (host.isEmpty() || host == QLatin1String("Root"))
        return QStringLiteral("@");
    return host;
}

std::optional<Resend> ResendForRow(const GridRow &row, const QString &ip)
{
    if (!IsAutoIPRow(row))
        return std::nullopt;
    const QString host = HostToSend(row.host);
    QString newValue;
    if (row.recordType.toUpper() == PortRelay) {
        QString relayHost, port, path;
        basDNS::SplitRelayURL(row.value, relayHost, port, path);
        if (relayHost == ip)
            return std::nullopt;
        QString target = QStringLiteral("http://") + ip + path;
        newValue = basDNS::BuildRelayURL(target, port);
    } else {
        if (row.value == ip)
            return std::nullopt;
        newValue = ip;
    }
    return Resend{{row.domain, host, row.recordType, row.value},
                  {row.domain, host, row.recordType, newValue}};
}

bool ShouldAskService(bool autoIPTicked, bool bVeltrioOnly)
{
    return (autoIPTicked && bVeltrioOnly) || !bVeltrioOnly;
}

QString UpTimeCaption(qint64 seconds)
{
    const qint64 days = seconds / 86400;
    if (days < std::numeric_limits<qint16>::min() || days > std::numeric_limits<qint16>::max())
        throw RuntimeError::Of(ErrorNumber::Overflow);
    qint64 rest = seconds - days * 86400;
    const qint64 hours = rest / 3600;
    rest -= hours * 3600;
    const qint64 minutes = rest / 60;
    const qint64 secs = rest - minutes * 60;
    return QString::number(days) + QStringLiteral(" Days ") + QLatin1Char(' ') + twoDigits(hours) +
           QLatin1Char(':') + twoDigits(minutes) + QLatin1Char(':') + twoDigits(secs);
}

} // namespace RefreshRules
