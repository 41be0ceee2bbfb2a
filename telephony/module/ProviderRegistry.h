// Line providers by name. Each provider registers itself once, from the
// module's start (registerBuiltInProviders); the settings' list of names
// (LineOptions::providers) picks which become line devices, in that order.
// The test line is what the tests use, chosen through the same list.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "telephony/module/LineOptions.h"
#include "telephony/module/LineProvider.h"

struct ProviderEntry {
    std::string name;         // "SIP line"
    std::string description;  // shown in Modem Selection
    TAPIDWORD mediaModes;     // LINEMEDIAMODE_ bits
    const NAVOICON* icon;
    std::function<std::unique_ptr<LineProvider>(const LineOptions&)> create;
};

class ProviderRegistry {
public:
    static ProviderRegistry& instance();

    void add(ProviderEntry entry);  // a second entry under a name replaces the first
    const ProviderEntry* find(const std::string& name) const;
    std::vector<std::string> names() const;

private:
    std::vector<ProviderEntry> m_entries;
};

// Registers "SIP line" and "test line" (once).
void registerBuiltInProviders();
