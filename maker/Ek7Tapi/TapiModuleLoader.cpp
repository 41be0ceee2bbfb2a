#include "maker/Ek7Tapi/TapiModuleLoader.h"

#include <cstdlib>

#include "maker/TapiAbi/TapiAbi.h"

std::vector<std::string> TapiModuleLoader::candidates()
{
    if (const char* forced = std::getenv(kTapiModuleVariable))
        return *forced == '\0' ? std::vector<std::string>{} : std::vector<std::string>{forced};
    std::vector<std::string> paths;
    const std::string folder = DynamicLibrary::executableFolder();
    if (!folder.empty())
        paths.push_back(folder + kTapiModuleFileName);
    paths.emplace_back(kTapiModuleFileName);
    return paths;
}

DynamicLibrary TapiModuleLoader::load(std::string* why)
{
    std::string reasons;
    for (const std::string& path : candidates()) {
        DynamicLibrary module(path, DynamicLibrary::kKeepLoaded);
        if (module.isLoaded())
            return module;
        reasons += (reasons.empty() ? "" : "; ") + module.error();
    }
    if (why != nullptr)
        *why = reasons.empty() ? std::string("telephony switched off (") + kTapiModuleVariable + " is empty)" : reasons;
    return DynamicLibrary();
}
