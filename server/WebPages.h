#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

// The few web pages the client links to (help, registration, terms,
// support, forgotten password, adding a domain), so that every link of the
// client leads somewhere when it runs against this service.
namespace WebPages {

// The paths that have a page.
QStringList paths();

// The HTML of the page at that path; nullopt for any other path.
std::optional<QByteArray> page(const QString &path);

} // namespace WebPages
