#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

namespace veltrane::webengine {

/// HTTPS with a host, or HTTP to a loopback address; nothing with a user's name in it.
bool isUsableAddress(const QUrl& address);

/// "https://vendor.example", with the port where it is not the usual one. No slash at the end.
QString originOf(const QUrl& address);

/// The address lies within one of the origins. One of a loopback address allows itself alone, any
/// other its host and what is below it: "https://vendor.example" allows
/// "https://eu.vendor.example". Sockets ("wss") count as what they belong to.
bool isAllowed(const QUrl& address, const QStringList& origins);

}  // namespace veltrane::webengine
