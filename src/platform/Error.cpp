#include "platform/Error.h"

#include "platform/Text.h"

#include <system_error>

namespace peekmend {

Error posixError(int number, std::string_view what) {
    return {"posix", number,
            std::string(what) + ": " + std::generic_category().message(number) + "."};
}

Error toolError(std::string_view domain, int exitStatus, std::string_view outputBytes,
                std::string_view errorBytes) {
    std::string message(decodeUtf8(errorBytes));
    if (message.empty()) {
        message = decodeUtf8(outputBytes);
    }
    return {std::string(domain), exitStatus, std::move(message)};
}

} // namespace peekmend
