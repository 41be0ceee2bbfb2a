#include "platform/DynamicLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include <utility>
#include <vector>

DynamicLibrary::DynamicLibrary(const std::string& path, Lifetime lifetime)
{
    int flags = RTLD_NOW | RTLD_LOCAL;
    if (lifetime == kKeepLoaded)
        flags |= RTLD_NODELETE;
    ::dlerror();
    m_handle = path.empty() ? nullptr : ::dlopen(path.c_str(), flags);
    if (m_handle == nullptr) {
        const char* reason = ::dlerror();
        m_error = reason != nullptr ? reason : path.empty() ? "no library named" : "cannot load " + path;
    }
}

DynamicLibrary::~DynamicLibrary()
{
    if (m_handle != nullptr)
        ::dlclose(m_handle);  // RTLD_NODELETE keeps the mapping whatever the count
}

DynamicLibrary::DynamicLibrary(DynamicLibrary&& other) noexcept
    : m_handle(std::exchange(other.m_handle, nullptr)), m_error(std::move(other.m_error))
{
}

DynamicLibrary& DynamicLibrary::operator=(DynamicLibrary&& other) noexcept
{
    if (this != &other) {
        if (m_handle != nullptr)
            ::dlclose(m_handle);
        m_handle = std::exchange(other.m_handle, nullptr);
        m_error = std::move(other.m_error);
    }
    return *this;
}

void* DynamicLibrary::symbol(const char* name) const
{
    if (m_handle == nullptr || name == nullptr)
        return nullptr;
    return ::dlsym(m_handle, name);
}

std::string DynamicLibrary::executableFolder()
{
    std::vector<char> buffer(4096);
    const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size() - 1);
    if (length <= 0)
        return {};
    std::string path(buffer.data(), static_cast<std::size_t>(length));
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}
