#include "ConnectionChoices.h"

#include "RegistryStore.h"
#include "RuntimeError.h"
#include "SettingsNames.h"
#include "TextRules.h"
#include "basDNS.h"
#include "basErr.h"

#include <cmath>

namespace ConnectionChoices {
namespace {
// The longest rate either list offers, in seconds.
constexpr double kLongestRate = 120;
} // namespace

std::optional<QString> RefreshRateFromStored(const QString &stored)
{
    if (!TextRules::IsNumeric(stored))
        return std::nullopt;
    QString shown;
    const bool converted = IgnoringErrors([&] {
        const double seconds = TextRules::ToDouble(stored);
        if (!std::isfinite(seconds) || seconds > kLongestRate)
            throw RuntimeError::Of(ErrorNumber::Overflow);
        shown = seconds < 60 ? QStringLiteral("60") : stored;
    });
    return converted ? shown : QStringLiteral("90");
}

QString StoredRefreshRate(bool bVeltrioOnly)
{
    RegistryStore reg;
    reg.SetKey(Settings::InitKey);
    return RefreshRateFromStored(reg.ReadValue(Settings::RefreshRate))
        .value_or(bVeltrioOnly ? QStringLiteral("90") : QStringLiteral("60"));
}

QString StoredServiceURL()
{
    RegistryStore reg;
    reg.SetKey(Settings::InitKey);
    if (reg.ReadValue(Settings::bSSL) == QLatin1String("1"))
        return basDNS::HttpsURL();
    const QString port = reg.ReadValue(Settings::Port);
    return basDNS::PlainURL(TextRules::IsNumeric(port) ? port : QStringLiteral("80"));
}

} // namespace ConnectionChoices
