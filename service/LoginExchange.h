#pragma once

#include <QString>

// The login request and what its reply does to the session, with no window:
// the login window and the service mode both log in through it and word the
// outcome each in its own way.
namespace LoginExchange {

enum class Outcome {
    // "DNS LOGIN:" was "SUCCESS" and the account has not expired: the
    // session record is filled.
    Success,
    // "DNS LOGIN:" was "FAIL": the service refused the user name or password.
    Refused,
    // No reply (the transfer failed or ran out of time), an empty one, or
    // one that is neither "SUCCESS" nor "FAIL". The session is untouched.
    ServerError,
    // The login worked but the account's expiration date has passed. The
    // session record is filled all the same.
    Expired,
};

// Sends "?fxn=login&usr=" + user + "&pwd=" + password (both trimmed) and
// waits for the reply. On success and on expiry the session record takes
// every value of the reply; a value longer than any real one (a name beyond
// 253 characters, a list beyond 64 KiB) is cut, and the log says so.
Outcome Run(const QString &user, const QString &password);

// After a login that worked: the program-wide flags say so, and an account
// with a free sub-domain has its own record named (domain sSubDomain, type
// "A"). The address that record is to point at: the one the settings keep
// from the last run, else the one the login reported.
void SessionStarted(bool saveLogin);
QString FreeRecordAddress();

// After the login of an account with a free sub-domain: while no client runs
// for it, the service points the account's own record at the service's
// server; that record is removed and one for address set (with the AutoIP
// flag bAutoIP), the session's sub-domain, user name and record type
// naming it. True when the service accepted the new record.
// The address is taken as it stands at the call: the delete's reply sets the
// session's sIPAddress, which a caller may well have passed.
bool RepointFreeRecord(QString address, bool bShowMessages, bool bAutoIP);

} // namespace LoginExchange
