#include "telephony/module/LineModule.h"

#include <cstdio>
#include <cstring>

#include "telephony/module/ProviderRegistry.h"

// What one open line's provider reports, turned into TAPI messages.
class LineModule::Sink : public LineEvents {
public:
    Sink(LineModule& module, HLINE line, DWORD_PTR instance) : m_module(module), m_line(line), m_instance(instance) {}

    HCALL newCall(bool incoming) override
    {
        const HCALL call = ++m_module.m_lastCall;
        std::lock_guard<std::mutex> lock(m_module.m_mutex);
        CallEntry& entry = m_module.m_calls[call];
        entry.line = m_line;
        entry.incoming = incoming;
        return call;
    }

    void offered(HCALL call, const std::string& number, const std::string& name) override
    {
        {
            std::lock_guard<std::mutex> lock(m_module.m_mutex);
            CallEntry& entry = m_module.m_calls[call];
            entry.state = LINECALLSTATE_OFFERING;
            entry.number = number;
            entry.name = name;
        }
        m_module.report(call, LINE_CALLSTATE, m_instance, LINECALLSTATE_OFFERING, 0, LINECALLPRIVILEGE_OWNER);
        if (!number.empty() || !name.empty())
            m_module.report(call, LINE_CALLINFO, m_instance, LINECALLINFOSTATE_CALLERID);
    }

    void callState(HCALL call, TAPIDWORD state, TAPIDWORD mode) override
    {
        {
            std::lock_guard<std::mutex> lock(m_module.m_mutex);
            const auto found = m_module.m_calls.find(call);
            if (found != m_module.m_calls.end())
                found->second.state = state;
        }
        m_module.report(call, LINE_CALLSTATE, m_instance, state, mode);
    }

    void ringing(int count) override
    {
        m_module.report(m_line, LINE_LINEDEVSTATE, m_instance, LINEDEVSTATE_RINGING, 0,
                        static_cast<DWORD_PTR>(count));
    }

    void playDone(HCALL call) override
    {
        m_module.report(call, LINE_DEVSPECIFIC, m_instance, NAVO_MEDIA_PLAYDONE);
    }

    void inService(bool yes) override
    {
        m_module.report(m_line, LINE_LINEDEVSTATE, m_instance,
                        yes ? LINEDEVSTATE_INSERVICE : LINEDEVSTATE_OUTOFSERVICE);
    }

    void lineClosed(LONG reason) override
    {
        m_module.report(m_line, LINE_CLOSE, m_instance, static_cast<TAPIDWORD>(reason));
    }

private:
    LineModule& m_module;
    HLINE m_line;
    DWORD_PTR m_instance;
};

LineModule& LineModule::instance()
{
    static LineModule module;
    return module;
}

LineModule::~LineModule()
{
    std::vector<HLINE> lines;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& line : m_lines)
            lines.push_back(line.first);
        m_callback = nullptr;  // the application may be gone already
    }
    for (HLINE line : lines)
        close(line);
}

void LineModule::loadDevices()
{
    registerBuiltInProviders();
    m_options = LineOptions::current();
    m_devices.clear();
    for (const std::string& name : m_options.providers) {
        const ProviderEntry* entry = ProviderRegistry::instance().find(name);
        if (entry != nullptr)
            m_devices.push_back(entry);
        else
            std::fprintf(stderr, "navotapi: no line provider is called \"%s\"; left out\n", name.c_str());
    }
    m_devicesLoaded = true;
}

void LineModule::report(TAPIDWORD device, TAPIDWORD message, DWORD_PTR instance, DWORD_PTR p1, DWORD_PTR p2,
                        DWORD_PTR p3)
{
    LINECALLBACK callback = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        callback = m_callback;
    }
    if (callback != nullptr)
        callback(device, message, instance, p1, p2, p3);
}

LONG LineModule::initialize(HLINEAPP* app, LINECALLBACK callback, TAPIDWORD* devices, TAPIDWORD* version)
{
    if (app == nullptr || devices == nullptr || callback == nullptr)
        return LINEERR_INVALPOINTER;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_app != 0)
        return LINEERR_RESOURCEUNAVAIL;  // one application at a time
    // The settings are read afresh for every start, so a changed provider
    // list or port applies from the next Ek7TapiInit on.
    loadDevices();
    m_app = ++m_lastApp;
    m_callback = callback;
    *app = m_app;
    *devices = static_cast<TAPIDWORD>(m_devices.size());
    if (version != nullptr)
        *version = TAPI_CURRENT_VERSION;
    return 0;
}

LONG LineModule::shutdown(HLINEAPP app)
{
    std::vector<HLINE> lines;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (app == 0 || app != m_app)
            return LINEERR_INVALAPPHANDLE;
        for (const auto& line : m_lines)
            lines.push_back(line.first);
    }
    for (HLINE line : lines)
        close(line);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
    m_app = 0;
    m_callback = nullptr;
    return 0;
}

LONG LineModule::negotiate(HLINEAPP app, TAPIDWORD device, TAPIDWORD high, TAPIDWORD* version)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (app == 0 || app != m_app)
        return LINEERR_INVALAPPHANDLE;
    if (device >= m_devices.size())
        return LINEERR_BADDEVICEID;
    if (version == nullptr)
        return LINEERR_INVALPOINTER;
    *version = high < TAPI_CURRENT_VERSION ? high : TAPI_CURRENT_VERSION;
    return 0;
}

LONG LineModule::devCaps(HLINEAPP app, TAPIDWORD device, LINEDEVCAPS* caps)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (app == 0 || app != m_app)
        return LINEERR_INVALAPPHANDLE;
    if (device >= m_devices.size())
        return LINEERR_BADDEVICEID;
    if (caps == nullptr)
        return LINEERR_INVALPOINTER;
    if (caps->dwTotalSize < sizeof(LINEDEVCAPS))
        return LINEERR_STRUCTURETOOSMALL;
    const ProviderEntry& entry = *m_devices[device];
    caps->dwMediaModes = entry.mediaModes;
    caps->dwMaxNumActiveCalls = 1;
    std::snprintf(caps->szLineName, sizeof caps->szLineName, "%s", entry.description.c_str());
    std::snprintf(caps->szProviderName, sizeof caps->szProviderName, "%s", entry.name.c_str());
    return 0;
}

LONG LineModule::open(HLINEAPP app, TAPIDWORD device, HLINE* line, DWORD_PTR callbackInstance,
                      TAPIDWORD mediaModes)
{
    std::shared_ptr<LineProvider> provider;
    Sink* sink = nullptr;
    HLINE handle = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (app == 0 || app != m_app)
            return LINEERR_INVALAPPHANDLE;
        if (device >= m_devices.size())
            return LINEERR_BADDEVICEID;
        if (line == nullptr)
            return LINEERR_INVALPOINTER;
        const ProviderEntry& entry = *m_devices[device];
        if (mediaModes == 0 || (mediaModes & ~entry.mediaModes) != 0)
            return LINEERR_INVALMEDIAMODE;
        for (const auto& open : m_lines)
            if (open.second.device == device)
                return LINEERR_RESOURCEUNAVAIL;  // one owner per line
        handle = ++m_lastLine;
        OpenLine& open = m_lines[handle];
        open.device = device;
        open.provider = entry.create(m_options);
        open.sink = std::make_unique<Sink>(*this, handle, callbackInstance);
        provider = open.provider;
        sink = open.sink.get();
    }
    const LONG started = provider ? provider->open(*sink) : LINEERR_OPERATIONFAILED;
    if (started != 0) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.erase(handle);
        return started;
    }
    *line = handle;
    return 0;
}

LONG LineModule::close(HLINE line)
{
    OpenLine closing;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_lines.find(line);
        if (found == m_lines.end())
            return LINEERR_INVALLINEHANDLE;
        closing = std::move(found->second);
        m_lines.erase(found);
        for (auto it = m_calls.begin(); it != m_calls.end();)
            it = it->second.line == line ? m_calls.erase(it) : std::next(it);
    }
    closing.provider->close();  // its thread is gone after this, so the sink may go
    return 0;
}

std::shared_ptr<LineProvider> LineModule::providerOf(HCALL call)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_calls.find(call);
    if (found == m_calls.end())
        return nullptr;
    const auto line = m_lines.find(found->second.line);
    return line == m_lines.end() ? nullptr : line->second.provider;
}

std::shared_ptr<LineProvider> LineModule::providerOfLine(HLINE line)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_lines.find(line);
    return found == m_lines.end() ? nullptr : found->second.provider;
}

LONG LineModule::answer(HCALL call)
{
    const auto provider = providerOf(call);
    return provider ? provider->answer(call) : LINEERR_INVALCALLHANDLE;
}

LONG LineModule::drop(HCALL call)
{
    const auto provider = providerOf(call);
    return provider ? provider->drop(call) : LINEERR_INVALCALLHANDLE;
}

LONG LineModule::deallocate(HCALL call)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_calls.find(call);
    if (found == m_calls.end())
        return LINEERR_INVALCALLHANDLE;
    if (found->second.state != LINECALLSTATE_IDLE)
        return LINEERR_INVALCALLSTATE;  // drop it first
    m_calls.erase(found);
    return 0;
}

LONG LineModule::makeCall(HLINE line, HCALL* call, const char* number)
{
    const auto provider = providerOfLine(line);
    if (!provider)
        return LINEERR_INVALLINEHANDLE;
    if (call == nullptr)
        return LINEERR_INVALPOINTER;
    if (number == nullptr || *number == '\0')
        return LINEERR_INVALADDRESS;
    HCALL made = 0;
    const LONG result = provider->makeCall(number, made);
    if (result == 0)
        *call = made;
    return result;
}

LONG LineModule::useMicrophone(HLINE line, const char* input)
{
    const auto provider = providerOfLine(line);
    if (!provider)
        return LINEERR_INVALLINEHANDLE;
    const bool sends = provider->useMicrophone(input != nullptr, input != nullptr ? input : "");
    return sends || input == nullptr ? 0 : LINEERR_OPERATIONUNAVAIL;
}

LONG LineModule::callInfo(HCALL call, LINECALLINFO* info)
{
    if (info == nullptr)
        return LINEERR_INVALPOINTER;
    if (info->dwTotalSize < sizeof(LINECALLINFO))
        return LINEERR_STRUCTURETOOSMALL;
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_calls.find(call);
    if (found == m_calls.end())
        return LINEERR_INVALCALLHANDLE;
    const CallEntry& entry = found->second;
    info->dwOrigin = entry.incoming ? 4 : 1;
    info->dwCallerIDFlags = entry.number.empty() && entry.name.empty() ? 0 : 1;
    std::snprintf(info->szCallerIDNumber, sizeof info->szCallerIDNumber, "%s", entry.number.c_str());
    std::snprintf(info->szCallerIDName, sizeof info->szCallerIDName, "%s", entry.name.c_str());
    return 0;
}

LONG LineModule::icon(TAPIDWORD device, const char* deviceClass, HICON* icon)
{
    if (icon == nullptr)
        return LINEERR_INVALPOINTER;
    if (deviceClass != nullptr && std::strcmp(deviceClass, "tapi/line") != 0)
        return LINEERR_OPERATIONUNAVAIL;  // TAPI's answer for a class without an icon
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_devicesLoaded)
        loadDevices();
    if (device >= m_devices.size())
        return LINEERR_BADDEVICEID;
    *icon = m_devices[device]->icon;
    return 0;
}

LONG LineModule::waveId(HLINE line, HCALL call, const char* deviceClass, VARSTRING* id)
{
    if (id == nullptr || deviceClass == nullptr)
        return LINEERR_INVALPOINTER;
    if (id->dwTotalSize < sizeof(VARSTRING))
        return LINEERR_STRUCTURETOOSMALL;
    if (std::strcmp(deviceClass, "wave/in") != 0 && std::strcmp(deviceClass, "wave/out") != 0)
        return LINEERR_OPERATIONUNAVAIL;
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_lines.find(line);
    if (found == m_lines.end())
        return LINEERR_INVALLINEHANDLE;
    if (call != 0 && m_calls.count(call) == 0)
        return LINEERR_INVALCALLHANDLE;
    // The line's audio is reached through navoLine*, not a wave device; the
    // identifier names the line's device so callers can tell lines apart.
    id->dwDeviceID = found->second.device;
    return 0;
}

LONG LineModule::playFile(HCALL call, const char* path)
{
    if (path == nullptr)
        return LINEERR_INVALPOINTER;
    const auto provider = providerOf(call);
    return provider ? provider->playFile(call, path) : LINEERR_INVALCALLHANDLE;
}

LONG LineModule::recordFile(HCALL call, const char* path)
{
    if (path == nullptr)
        return LINEERR_INVALPOINTER;
    const auto provider = providerOf(call);
    return provider ? provider->recordFile(call, path) : LINEERR_INVALCALLHANDLE;
}

LONG LineModule::pauseRecord(HCALL call, bool pause)
{
    const auto provider = providerOf(call);
    return provider ? provider->pauseRecord(call, pause) : LINEERR_INVALCALLHANDLE;
}

LONG LineModule::stopMedia(HCALL call)
{
    const auto provider = providerOf(call);
    return provider ? provider->stopMedia(call) : LINEERR_INVALCALLHANDLE;
}

LONG LineModule::stopPlay(HCALL call)
{
    const auto provider = providerOf(call);
    return provider ? provider->stopPlay(call) : LINEERR_INVALCALLHANDLE;
}

LONG LineModule::inputLevel(HCALL call, TAPIDWORD* level)
{
    if (level == nullptr)
        return LINEERR_INVALPOINTER;
    const auto provider = providerOf(call);
    if (!provider)
        return LINEERR_INVALCALLHANDLE;
    int peak = 0;
    const LONG result = provider->inputLevel(call, peak);
    if (result == 0)
        *level = static_cast<TAPIDWORD>(peak);
    return result;
}
