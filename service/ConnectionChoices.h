#pragma once

#include <QString>
#include <optional>

// The connection choices of the settings store's "Init" key, read without a
// window: the refresh rate and the service URL that the advanced panels show
// and set.
namespace ConnectionChoices {

// What a stored refresh rate text shows: nothing (the default stays) when it
// is not numeric; "60" for a rate below a minute; the text as stored for a
// rate up to the lists' longest, 120 seconds; "90" for a rate that cannot be
// used (no finite number, or beyond 120: no check would ever come).
std::optional<QString> RefreshRateFromStored(const QString &stored);

// The refresh rate in seconds as text: the stored "RefreshRate" through
// RefreshRateFromStored, else the account kind's default ("90" for an
// account with only the free sub-domain, "60" otherwise).
QString StoredRefreshRate(bool bVeltrioOnly);

// The service URL of the stored choice: the HTTPS endpoint with "bSSL" 1,
// else the plain one on the stored numeric "Port" (80 when there is none).
QString StoredServiceURL();

} // namespace ConnectionChoices
