#include "audio/PlayerEffects.h"

#include <QSettings>
#include <QString>
#include <QVariant>

#include <cstdlib>

namespace playereffects {

namespace {

const char* const kOrganisation = "Orlent Systems";
const char* const kApplication = "NAVO";
const char* const kVersionValue = "DirectX/Version";

}  // namespace

void load(const std::array<std::string, kPairs>& texts, Table& table)
{
    for (int i = 0; i < kPairs; ++i) {
        int* pair = table[static_cast<std::size_t>(i)];
        const std::string& text = texts[static_cast<std::size_t>(i)];
        pair[0] = text.empty() ? 0 : 1;
        pair[1] = text.empty() ? 0 : std::atoi(text.c_str());
        if (i > 0 && pair[0] == 1 && pair[1] == kOffValue) {
            pair[0] = 0;
            pair[1] = 0;
        }
    }
}

std::array<std::string, kPairs> texts(const Table& table)
{
    std::array<std::string, kPairs> out;
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = table[i][0] != 0 ? std::to_string(table[i][1]) : std::string();
    return out;
}

bool versionEnablesEffects(const std::string& version)
{
    if (version == kNoKey || version == kNoValue || version == kReadError)
        return false;
    std::size_t start = version.find('.');
    if (start == std::string::npos)
        start = version.find(',');
    if (start == std::string::npos)
        return false;
    const std::string rest = version.substr(start + 1);
    const std::string second = rest.substr(0, rest.find_first_of(".,"));
    return std::atoi(second.c_str()) > 8;
}

std::string readDirectXVersion()
{
    const QSettings settings(QSettings::NativeFormat, QSettings::UserScope, kOrganisation, kApplication);
    if (settings.status() != QSettings::NoError)
        return kReadError;
    const QVariant value = settings.value(QLatin1String(kVersionValue));
    if (!value.isValid())
        return kNoValue;
    return value.toString().toStdString();
}

void publishDirectXVersion(bool enginePresent)
{
    QSettings settings(QSettings::NativeFormat, QSettings::UserScope, kOrganisation, kApplication);
    if (enginePresent)
        settings.setValue(QLatin1String(kVersionValue), QLatin1String(kEngineVersion));
    else
        settings.remove(QLatin1String(kVersionValue));
    settings.sync();
}

}  // namespace playereffects
