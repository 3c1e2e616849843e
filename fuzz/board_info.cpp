// Passes any text as a device's additional information, which must not be read past the end of the record.

#include "fuzzing.h"

#include "hardware/zorvichardware.h"

#include <algorithm>
#include <cstring>
#include <memory>

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto info = std::make_unique<_ZORVIC_DEVICE_INFO>(); // on the heap, with red zones around it
    info->board = 7;
    if (size > 0)
        std::memcpy(info->additionalInfo, data, std::min(size, sizeof info->additionalInfo));

    require(ZorvicHardware::boardInfo(*info).board == 7);

    // The key is arbitrary too; a value that is found must be a part of the text.
    const QString text = QString::fromLatin1(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QString key = text.left(2);
    require(text.contains(ZorvicHardware::parseAdditionalInfoKeyValue(text, key)));
    return 0;
}
