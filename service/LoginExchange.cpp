#include "LoginExchange.h"

#include "DateRules.h"
#include "RegistryStore.h"
#include "RuntimeError.h"
#include "Seams.h"
#include "ServiceConfig.h"
#include "SettingsNames.h"
#include "TextRules.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

namespace LoginExchange {

Outcome Run(const QString &userName, const QString &password)
{
    QString reply;
    try {
        reply = basDNS::OpenRequest(QStringLiteral("?fxn=login&usr=") + TextRules::Trim(userName) +
                                    QStringLiteral("&pwd=") + TextRules::Trim(password));
    } catch (const std::exception &) {
        return Outcome::ServerError;
    }
    if (reply.isEmpty())
        return Outcome::ServerError;

    // The whole value must match: "Success" or a SUCCESS inside another
    // text is no login.
    const QString outcome = basDNS::GetReplyValue(reply, QStringLiteral("DNS LOGIN:"));
    if (outcome == QLatin1String("FAIL"))
        return Outcome::Refused;
    if (outcome != QLatin1String("SUCCESS"))
        return Outcome::ServerError;

    clsUser &user = User();
    // No real value comes near these lengths (a name has at most 253
    // characters); one beyond them is cut, and the log says so, so that the
    // windows never lay out megabytes of text. The record list is checked
    // record by record where it is read.
    const auto value = [&reply](const char *label) {
        QString text = basDNS::GetReplyValue(reply, QLatin1String(label));
        if (qstrcmp(label, "DomainUserRecords:") == 0)
            return text;
        const bool list = qstrcmp(label, "Domains:") == 0 || qstrcmp(label, "RecordTypes:") == 0;
        const qsizetype limit = list ? 1 << 16 : 253;
        if (text.size() > limit) {
            basErr::LogOnly(QStringLiteral("frmLogin.cmdLogin_Click()"),
                            RuntimeError(ErrorNumber::InvalidArgument,
                                         QStringLiteral("The login's \"%1\" value of %2 "
                                                        "characters was cut to %3.")
                                             .arg(QLatin1String(label))
                                             .arg(text.size())
                                             .arg(limit)));
            text.truncate(limit);
        }
        return text;
    };
    user.sUsername = TextRules::Trim(userName);
    user.sFirstName = value("FirstName:");
    user.sLastName = value("LastName:");
    user.sDomainList = value("Domains:");
    user.sSubDomain = value("SubDomain:");
    user.sRecordTypeList = value("RecordTypes:");
    user.sExpirationDate = value("ExpirationDate:");
    user.sPassword = TextRules::Trim(password);
    user.sIPAddress = value("IPAddress:");
    user.sDomainUserRecords = value("DomainUserRecords:");
    // A reply without the list leaves the session with none it knows of:
    // nothing may take the marks from an empty grid then.
    basDNS::RecordListFromLogin(reply.contains(QLatin1String("DomainUserRecords:")));
    user.sUserLevel = value("UserLevel:");

    // An expiration date that is no date never stops the login.
    const auto expires = DateRules::ParseDate(user.sExpirationDate);
    if (expires && *expires < Seams::Now())
        return Outcome::Expired;
    return Outcome::Success;
}

void SessionStarted(bool saveLogin)
{
    ProgramWide::bLoggedIn = true;
    ProgramWide::bSaveLogin = saveLogin;
}

QString FreeRecordAddress()
{
    clsUser &user = User();
    user.sDomain = user.sSubDomain;
    user.sRecordType = QStringLiteral("A");
    RegistryStore section;
    section.SetKey(Settings::AccountKey(user.sUsername));
    const QString saved = section.ReadValue(Settings::IPAddress);
    return saved.isEmpty() ? user.sIPAddress : saved;
}

bool RepointFreeRecord(QString address, bool bShowMessages, bool bAutoIP)
{
    const clsUser &user = User();
    QString host = user.sUsername;
    basDNS::DNSTickler(user.sSubDomain, host, basDNS::RecordDelete, user.sRecordType,
                       Config().defaultServerAddress, bShowMessages, false);
    host = user.sUsername;
    return basDNS::DNSTickler(user.sSubDomain, host, basDNS::RecordAdd, user.sRecordType, address,
                              bShowMessages, bAutoIP);
}

} // namespace LoginExchange
