#include "WebPages.h"

namespace {

struct Page
{
    const char *path;
    const char *title;
    const char *text;
};

const Page pages[] = {
    {"/help", "Veltrio Dynamic DNS help",
     "Log in with your Veltrio user name and password. The client keeps your records pointed at "
     "your computer's public address; tick Automatic IP Resolution on every record that should "
     "follow it."},
    {"/services.asp", "Register with Veltrio",
     "A free account gives you one host name under the Veltrio sub-domain. Accounts with your "
     "own domains add address, CNAME, MX and port relay records."},
    {"/tos.asp", "Veltrio terms of service",
     "The service is provided as it is. Keep your password to yourself and use your host names "
     "only for lawful purposes."},
    {"/v.1.3/support.asp", "Veltrio support",
     "Your account has expired or needs help. Write to support and name your user name; we will "
     "reactivate the account."},
    {"/pop_pword.asp", "Forgotten password",
     "Enter the user name of your account and we will send its password to the e-mail address "
     "on file."},
    {"/v.1.6/login.asp", "Add a domain",
     "Log in to the web site to add one of your own domains to your account. It appears in the "
     "client's domain list at your next login."},
};

} // namespace

namespace WebPages {

QStringList paths()
{
    QStringList all;
    for (const Page &p : pages)
        all.append(QLatin1String(p.path));
    return all;
}

std::optional<QByteArray> page(const QString &path)
{
    for (const Page &p : pages) {
        if (path != QLatin1String(p.path))
            continue;
        return QByteArray("<!DOCTYPE html>\n<html lang=\"en\">\n<head><meta charset=\"utf-8\">"
                          "<title>") +
               p.title + "</title></head>\n<body>\n<h1>" + p.title + "</h1>\n<p>" + p.text +
               "</p>\n</body>\n</html>\n";
    }
    return std::nullopt;
}

} // namespace WebPages
