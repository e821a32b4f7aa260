// A port relay's URL taken apart and put back together. Input: the target on
// the first line, the port after it.
#include "basDNS.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString input =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const qsizetype newline = input.indexOf(u'\n');
    const QString target = newline < 0 ? input : input.left(newline);
    const QString port = newline < 0 ? QString() : input.mid(newline + 1);

    QString host = QStringLiteral("old-host"), splitPort = QStringLiteral("1"),
            path = QStringLiteral("/old");
    basDNS::SplitRelayURL(target, host, splitPort, path);

    QString fromInput = target;
    basDNS::BuildRelayURL(fromInput, port);
    // The way the automatic refresh rebuilds a relay for a new address.
    QString rebuilt = QStringLiteral("http://") + host + path;
    basDNS::BuildRelayURL(rebuilt, splitPort);
    return 0;
}
