// What the Modem Selection dialog (113) does, without the window: list the
// line devices with their icons, pre-select the one "CommID" names, and take
// the user's choice into the line state block.
//
// Set-up, in order: keep DeviceId; Ek7TapiInit unless the line is monitored
// (a failure is reported and ends the set-up); one icon per device from
// lineGetIcon (none where it fails); Ek7TapiListDev (a failure is reported
// and ends the set-up); no rows at all means no device (DeviceChosen = 0);
// DeviceId put back, Ek7TapiClose; then the pre-selection from "CommID", read
// as a decimal number although it is written in hexadecimal (kept so).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/ProfileValues.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"

class ModemSelection {
public:
    struct Row {
        std::string number;       // column 0, decimal text
        std::string description;  // column 1
    };
    enum class SetUp { Ready, Failed, NoDevices };

    ModemSelection(LineState*& line, ProfileValues profile);

    SetUp setUp();

    const std::vector<Row>& rows() const { return m_rows; }
    // One per device number from 0 to DeviceCount - 1; nullptr: no icon.
    const std::vector<HICON>& icons() const { return m_icons; }
    // The rows "CommID" names (normally one).
    const std::vector<int>& preselected() const { return m_preselected; }
    // The device "CommID" named and its description, when a row had it.
    std::optional<long> savedDevice() const { return m_savedDevice; }
    const std::string& savedDescription() const { return m_savedDescription; }

    // "Select": DeviceId from the row's column-0 text, DeviceChosen = 1.
    long choose(const std::string& numberText);
    // "Cancel": Ek7TapiClose, no choice.
    void cancel();
    // "Test" on a row: DeviceId from its column-0 text for the tester; the
    // DeviceId it had before, to be put back when the tester closes, since
    // testing a line is not choosing it.
    std::int32_t testDevice(const std::string& numberText);

private:
    struct DeviceRows;

    LineState*& m_line;
    ProfileValues m_profile;
    std::vector<Row> m_rows;
    std::vector<HICON> m_icons;
    std::vector<int> m_preselected;
    std::optional<long> m_savedDevice;
    std::string m_savedDescription;
};
