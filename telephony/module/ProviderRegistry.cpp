#include "telephony/module/ProviderRegistry.h"

#include <mutex>

#include "telephony/module/SipLineProvider.h"
#include "telephony/module/TestLineProvider.h"

ProviderRegistry& ProviderRegistry::instance()
{
    static ProviderRegistry registry;
    return registry;
}

void ProviderRegistry::add(ProviderEntry entry)
{
    for (ProviderEntry& existing : m_entries) {
        if (existing.name == entry.name) {
            existing = std::move(entry);
            return;
        }
    }
    m_entries.push_back(std::move(entry));
}

const ProviderEntry* ProviderRegistry::find(const std::string& name) const
{
    for (const ProviderEntry& entry : m_entries)
        if (entry.name == name)
            return &entry;
    return nullptr;
}

std::vector<std::string> ProviderRegistry::names() const
{
    std::vector<std::string> names;
    for (const ProviderEntry& entry : m_entries)
        names.push_back(entry.name);
    return names;
}

void registerBuiltInProviders()
{
    static std::once_flag once;
    std::call_once(once, [] {
        SipLineProvider::registerProvider(ProviderRegistry::instance());
        TestLineProvider::registerProvider(ProviderRegistry::instance());
    });
}
