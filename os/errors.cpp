#include "os/errors.h"

#include <cerrno>

namespace Os
{

std::error_code LastError()
{
    return {errno, std::generic_category()};
}

} // namespace Os
