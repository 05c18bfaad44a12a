#include "zorhost/Error.h"

namespace zorhost {

HostException::HostException(std::string className, std::string message)
    : std::runtime_error(message.empty() ? className : className + ": " + message),
      className_(std::move(className)),
      message_(std::move(message)) {}

const char* Cancelled::what() const noexcept {
    return "cancelled";
}

}  // namespace zorhost
