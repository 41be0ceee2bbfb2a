#include "audio/WaveResources.h"

#include "res/resource.h"

#include <QFile>

#include <cctype>
#include <cstdlib>

namespace {

const char* fileForNumber(long id)
{
    switch (id) {
    case IDR_WAVE_TONE: return "tone.wav";
    case IDR_WAVE_RING: return "ring.wav";
    default: return nullptr;
    }
}

}  // namespace

std::string WaveResources::describe(const char* name)
{
    if (IS_INTRESOURCE(name))
        return "#" + std::to_string(reinterpret_cast<std::uintptr_t>(name));
    return name;
}

std::string WaveResources::find(HMODULE module, const char* name)
{
    if (module != 0 || name == nullptr)
        return {};
    std::string file;
    if (IS_INTRESOURCE(name)) {
        const char* f = fileForNumber(static_cast<long>(reinterpret_cast<std::uintptr_t>(name)));
        if (f == nullptr)
            return {};
        file = f;
    } else if (name[0] == '#') {
        const char* f = fileForNumber(std::strtol(name + 1, nullptr, 10));
        if (f == nullptr)
            return {};
        file = f;
    } else {
        for (const char* p = name; *p != '\0'; ++p)
            file += static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
        if (file.size() < 4 || file.compare(file.size() - 4, 4, ".wav") != 0)
            file += ".wav";
        if (file.find('/') != std::string::npos)
            return {};
    }
    const std::string path = ":/res/sounds/" + file;
    return QFile::exists(QString::fromStdString(path)) ? path : std::string();
}

bool WaveResources::load(const std::string& path, QByteArray& bytes)
{
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    bytes = file.readAll();
    return !bytes.isEmpty();
}
