#pragma once

#include <QString>
#include <QUrl>

// Where the service lives: read from veltrio.conf ([Service] section). Each
// missing key falls back to a placeholder under a reserved domain.
struct ServiceConfig
{
    QString httpHost;             // plain-HTTP update host, no port
    QString httpsHost;            // HTTPS host, may carry ":port"
    QString webSite;              // the service's web site, may carry ":port"
    QString supportHost;          // the support host, may carry ":port"
    QString defaultServerAddress; // the service's own server address
    QString caCertificates;       // optional PEM file of extra trusted CAs
    int timeoutSeconds = 60;      // the deadline of one exchange with the service

    static ServiceConfig Defaults();
    // Reads a file; keys that are missing or empty keep their defaults. A
    // relative CaCertificates path is taken relative to the file.
    static ServiceConfig Load(const QString &file);
    // veltrio.conf beside the program, then in the user's config folder;
    // empty when neither exists.
    static QString DefaultFile();

    // Pages opened in the user's browser.
    QUrl WebSitePage(const QString &path) const;   // http://webSite + path
    QUrl SupportPage(const QString &path) const;   // http://supportHost + path
    QUrl HttpsHostPage(const QString &path) const; // https://httpsHost + path
};

// The configuration in force; set once at start-up, and by tests.
const ServiceConfig &Config();
void SetConfig(const ServiceConfig &config);
