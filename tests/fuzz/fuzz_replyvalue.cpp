// A service reply as the client reads it. Input: the label on the first line,
// the reply after it.
#include "basDNS.h"

#include <cstddef>
#include <cstdint>
#include <exception>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString input =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const qsizetype newline = input.indexOf(u'\n');
    const QString label = newline < 0 ? input : input.left(newline);
    const QString reply = newline < 0 ? QString() : input.mid(newline + 1);

    basDNS::IsSuccess(reply);
    basDNS::IsValidIPAddress(label);
    try {
        // A label with no "</p" after it is an invalid-argument error.
        const QString value = basDNS::GetReplyValue(reply, label);
        basDNS::IsValidIPAddress(value);
        basDNS::NullToEmpty(value);
    } catch (const std::exception &) {
    }
    return 0;
}
