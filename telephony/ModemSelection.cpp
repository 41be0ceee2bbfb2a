#include "telephony/ModemSelection.h"

#include <cstdlib>

#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"
#include "telephony/LineFailureReport.h"
#include "telephony/TapiBinding.h"

struct ModemSelection::DeviceRows : Ek7TapiDeviceList {
    explicit DeviceRows(std::vector<Row>& rows) : m_rows(rows) {}
    void insertRow(const std::string& number, const std::string& description) override
    {
        m_rows.push_back(Row{number, description});
    }
    std::vector<Row>& m_rows;
};

ModemSelection::ModemSelection(LineState*& line, ProfileValues profile)
    : m_line(line), m_profile(std::move(profile))
{
}

ModemSelection::SetUp ModemSelection::setUp()
{
    m_rows.clear();
    m_icons.clear();
    m_preselected.clear();
    m_savedDevice.reset();
    m_savedDescription.clear();

    const std::int32_t keptDevice = m_line->DeviceId;
    if (m_line->Monitoring == 0) {
        m_line = Ek7TapiInit(0);
        if (LineFailureReport::showIfFailed(m_line))
            return SetUp::Failed;
    }
    for (std::int32_t device = 0; device < m_line->DeviceCount; ++device) {
        HICON icon = nullptr;
        if (lineGetIcon(static_cast<DWORD>(device), "tapi/line", &icon) != 0)
            icon = nullptr;
        m_icons.push_back(icon);
    }
    DeviceRows list(m_rows);
    m_line = Ek7TapiListDev(&list);
    if (LineFailureReport::showIfFailed(m_line))
        return SetUp::Failed;
    const bool none = m_rows.empty();
    if (none)
        m_line->DeviceChosen = 0;
    m_line->DeviceId = keptDevice;
    m_line = Ek7TapiClose();
    if (none)
        return SetUp::NoDevices;

    const std::optional<long> device = m_profile.device();
    if (!device)
        return SetUp::Ready;
    const long saved = *device;
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        if (std::atol(m_rows[row].number.c_str()) != saved)
            continue;
        m_savedDevice = saved;
        m_savedDescription = m_rows[row].description;
        m_preselected.push_back(static_cast<int>(row));
    }
    return SetUp::Ready;
}

long ModemSelection::choose(const std::string& numberText)
{
    const long device = std::atol(numberText.c_str());
    m_line->DeviceId = static_cast<std::int32_t>(device);
    m_line->DeviceChosen = 1;
    return device;
}

void ModemSelection::cancel()
{
    m_line = Ek7TapiClose();
}

std::int32_t ModemSelection::testDevice(const std::string& numberText)
{
    const std::int32_t kept = m_line->DeviceId;
    m_line->DeviceId = static_cast<std::int32_t>(std::atol(numberText.c_str()));
    return kept;
}
