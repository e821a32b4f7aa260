#pragma once

#include <QString>

// Everything the client knows about the logged-in account. One program-wide
// instance, reached through User(); a login overwrites the fields its reply
// carries.
class clsUser
{
public:
    QString sUsername;  // trimmed user name
    QString sPassword;  // trimmed password, kept in clear
    QString sIPAddress; // the address the service saw the client come from
    QString sFirstName;
    QString sLastName;
    QString sDomain;            // domain of the free host record (stays empty)
    QString sRecordType;        // record type of the free host record
    QString sDomainUserRecords; // the record list as the service last sent it
    QString sDomainList;        // the user's own domains, comma-separated
    QString sSubDomain;         // the free sub-domain; empty when the account has none
    QString sRecordTypeList;    // record types the account may create, comma-separated
    QString sUserLevel;
    bool bVeltrioOnly = false; // the account is a free sub-domain account
    QString sExpirationDate;
};

// The one session record, created on first use.
clsUser &User();

// Program-wide values beside the session record.
namespace ProgramWide {
inline QString sServiceURL;     // the service script's URL; queries are appended to it
inline bool bLoggedIn = false;  // set by a successful login
inline bool bSaveLogin = false; // "Save Login" was ticked at the successful login
inline QString sAutoIPList;     // keys of the records under automatic refresh
inline bool bSkipClosePrompt = false;
inline QString sStartTime; // when the main window's session started

// Empties the session record and every program-wide value (tests, fresh start).
void Reset();
} // namespace ProgramWide
