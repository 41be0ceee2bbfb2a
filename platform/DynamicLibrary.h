// A shared library loaded at run time: dlopen/dlsym behind LoadLibraryA and
// GetProcAddress's contract (a missing library or symbol is an answer, not a
// crash). The library stays loaded while the object lives, unless it was
// opened with kKeepLoaded: modules that start threads of their own (the
// telephony provider module) must never be unmapped under them.
#pragma once

#include <string>

class DynamicLibrary {
public:
    enum Lifetime { kUnloadOnDestroy, kKeepLoaded };

    DynamicLibrary() = default;
    // Loads path at once; isLoaded() and error() tell how it went.
    explicit DynamicLibrary(const std::string& path, Lifetime lifetime = kUnloadOnDestroy);
    ~DynamicLibrary();
    DynamicLibrary(DynamicLibrary&& other) noexcept;
    DynamicLibrary& operator=(DynamicLibrary&& other) noexcept;
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    bool isLoaded() const { return m_handle != nullptr; }
    // The loader's reason for the last failure ("...: cannot open shared
    // object file"), empty after a success.
    const std::string& error() const { return m_error; }

    // The address of a symbol with C linkage, or nullptr.
    void* symbol(const char* name) const;

    template <typename Function>
    Function function(const char* name) const
    {
        return reinterpret_cast<Function>(symbol(name));
    }

    // The folder of the running executable, with a trailing "/"; empty when
    // the system does not say.
    static std::string executableFolder();

private:
    void* m_handle = nullptr;
    std::string m_error;
};
