#include "SymlinkGuard.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace strelosim {

bool SymlinkGuard::Create(const std::string &linkPath, const std::string &target, std::string &error)
{
    struct stat st {};
    if (lstat(linkPath.c_str(), &st) == 0) {
        if (!S_ISLNK(st.st_mode)) {
            error = linkPath + " exists and is not a symbolic link";
            return false;
        }
        ::unlink(linkPath.c_str());
    }
    if (::symlink(target.c_str(), linkPath.c_str()) != 0) {
        error = "cannot create the symbolic link " + linkPath + " (" + std::strerror(errno) + ")";
        return false;
    }
    m_linkPath = linkPath;
    m_target = target;
    return true;
}

SymlinkGuard::~SymlinkGuard()
{
    if (m_linkPath.empty())
        return;
    char current[PATH_MAX];
    const ssize_t n = ::readlink(m_linkPath.c_str(), current, sizeof current - 1);
    if (n >= 0 && m_target == std::string(current, static_cast<std::size_t>(n)))
        ::unlink(m_linkPath.c_str());
}

} // namespace strelosim
