#include "CFirmwareException.h"

#include <utility>

CFirmwareException::CFirmwareException(int code, std::string message)
    : code(code), message(std::move(message))
{
}

const char *CFirmwareException::what() const noexcept
{
    return message.c_str();
}
