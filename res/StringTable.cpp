// The string table itself, in number order. Keep it sorted when adding: the
// lookup is a binary search.
//
// Numbers the program loads but whose text has not been settled yet (the
// data store messages 616 to 620, and the
// long text 803) are deliberately absent: they load as ""
// until their wording is known, and the message catalogue shows a fallback
// for the coded ones.
#include "res/StringTable.h"

#include "platform/Codepage.h"

#include <algorithm>
#include <iterator>

namespace {

// clang-format off
constexpr StringEntry kStrings[] = {
    // Start-up
    {100, "OLE initialization failed.  Make sure that the OLE libraries are the correct version"},
    {101, "&About Navo..."},
    {103, "Windows sockets initialization failed"},

    // Data store and record messages (message codes 101 to 119)
    {602, "The Navo data store you used last could not be accessed.\n\n"
          "Do you want to open another data store? \n"
          "Answering No will prompt you to create a new data store : Error 105"},
    {603, "A problem was encountered creating the files required to build the Navo data store : Application closing : Error 101"},
    {604, "A problem was encountered creating the Navo data store : Application closing : Error 102"},
    {605, "A problem was encountered extracting the required information  from the Navo data store : Application closing : Error 103"},
    {606, "The greeting and warning messages could not be located in the data store : See Trouble Shooting guide in Help : Error 104"},
    {608, "Warning : Incomplete build of the Navo data store : See Trouble Shooting guide in Help : Error 106"},
    {609, "Warning : Save of the Navo data store failed : See Trouble Shooting guide in Help : Error 107"},
    {610, "Cannot save recording - Missing file : Error 108"},
    {611, "Error creating/updating Navo file : Error 109"},
    {612, "Error adding search fields to index : Error 110"},
    {613, "Error extracting Navo file from the data store : Error 111"},
    {614, "Error reading Navo file : Error 112"},
    {615, "Corrupted Navo file : Error 113"},
    {621, "The temporary workspace could not be created : Application closing : Error 119"},

    // Recorders, players and the mixing studio
    {624, "Navo player could not open the recording : Error 200"},
    {627, "You have not saved your changes, if you want to save your changes press yes : Info 002"},
    {628, "You have not saved your recording, if you want to save your recording press yes : Info 001"},
    {633, "Navo could not start recording using your default recording device : Error 202"},
    {638, "An error occurred during the merge process  : Error 203"},
    {639, "An error occurred during the build process : Error 204"},
    {640, "An error occurred creating the intermediate file for the build process : Error 205"},
    {653, "Pressing this button will merge the recordings in the Merge List"},
    {654, "Presssing this button will present you with the Navo Studio"},

    // Sending by e-mail, locked records
    {657, "The Navo recording was not sent because you cancelled the operation"},
    {658, "An error occurred trying to send your Navo recording : Error 501.\n\n"
          "Navo hands recordings to the mail program set up on this computer. "
          "Web-based mail, read and written in a web browser, cannot be used to send Navo recordings."},
    {660, "The record is locked and cannot be edited : Info 006"},

    // Player tool tips
    {662, "Plays the current recording"},
    {663, "Stops playing or recording"},
    {669, "Close the dialog without saving"},

    // Mail texts
    {684, " voice mail attached"},
    {685, "For more information on Navo products and services visit the above website"},
    {688, "[Enter your subject heading here] (Navo Recording :-"},
    {689, "Number of Messages : "},

    // Diary
    {690, "Automatic diary reminder could not open the log file : Error 131"},
    {691, "Diary reminder - Do you want to listen to it? : Info 132"},

    // Shown for a message code that has no message
    {692, "Message issued but not defined : Error 1000"},

    // Diary reminder tool tips
    {693, "Resets the reminder for the specified number of minutes"},
    {694, "Sets the number of minutes before being reminded again"},

    // Navo's own wording for numbers loaded by the program whose text was
    // never settled: the main tool bar's first button, the Options and
    // Modem Selection tool tips, the web address and the message when it
    // cannot be opened.
    {721, "Start a new recording of the type shown"},
    {725, "Default cost per minute of telephone calls"},
    {726, "Default cost per hour of meetings"},
    {727, "Number of rings before Navo answers an incoming call"},
    {728, "Fill in the name, description and keywords of a new recording from the previous one"},
    {729, "Ask for file names when recordings are exported"},
    {730, "Look for diary reminders that are due each time Navo starts"},
    {731, "Compress recordings before they are sent by e-mail"},
    {732, "Save these options and close"},
    {742, "Test the selected modem"},
    {743, "The currency sign shown with costs"},
    {744, "The telephone lines Navo can use: click one to choose it"},
    {745, "Use the chosen line for answering and recording calls"},
    {746, "Close without changing the line"},

    // Telephone line
    {748, "Please enter a valid phone number and press Start.\n\n"
          "Note : You can enter your own phone number, or for a more \n"
          "accurate test enter the phone number of the 'Speaking Clock'"},
    {749, "The modem which was used previously is no longer available.\n"
          "Phone monitoring has been disabled.\n"
          "Use Modem Selection from the Phone menu to see if you have an alternative"},
    {751, "The currently selected modem cannot be used with Navo.\n"
          "Phone monitoring has been disabled.\n"
          "Use Modem Selection from the Phone menu to see if you have an alternative"},
    {752, "A telephone call is currently in progress.\nAction cancelled "},
    // Mail texts: how to play an attached recording (755 voice, 875 video)
    {755, "\r\nIMPORTANT\r\n\r\nTo play the attached Navo recording you will require either Navo or the FREE Navo "
          "Player, which you can download from the Navo web site at https://navo.example.org/download/\r\n\r\n"},
    {759, "No suitable modems were found.\n"
          "To use the phone functionality you must have a voice modem installed - See the Trouble shooting section in the help"},
    {760, "Please select a modem to test from the list by clicking on the \n"
          "ID of one of the devices in the list"},
    {790, "https://navo.example.org/"},
    {791, "The Navo web site could not be opened. Please check your web browser and internet connection : Info 022"},
    {792, "Your answer machine greeting message has been successfully changed.  "},

    // Recording quality tool tips (Options); the trailing space is kept
    {796, "Set recording quality to Navo Voice. 1 min of recording uses 1MB disk space. "},
    {797, "Set recording quality to Navo Stereo. 1 min of recording uses 2MB disk space. "},
    {798, "Set recording quality to Radio. 1 min of recording uses 1.25MB disk space. "},
    {799, "Set recording quality to CD. 1 min of recording uses 10MB disk space. "},

    // Registered window message name; at most 39 characters are used
    {800, "Ek7 Message from Word"},
    {801, "Your Navo Data Store needs compressing, do you want to compress it now?"},

    // Sound effects (message player)
    {804, "A new Navo recording has been successfully created."},
    {805, "Sound effects have been altered. To create a new recording with these effects press Yes."},
    {806, "Failed to open the selected device."},
    {807, "Press this button to set sound effects on the Navo recording."},
    {808, "Adjust the amount of echo."},
    {809, "Adjust the amount of chorus."},
    {810, "Adjust the amount of distortion."},
    {811, "Switches the echo effect on and off."},
    {812, "Switches the chorus effect on and off."},
    {813, "Switches the distortion effect on and off."},
    {814, "Adjusts the amount of flanger."},
    {815, "Adjusts the amount of gargle."},
    {816, "Adjusts the amount of equalizer."},
    {817, "Adjusts the amount of reverb."},
    {818, "Switches the gargle effect on and off."},
    {819, "Switches the equalizer effect on and off."},
    {820, "Switches the reverb effect on and off."},
    {821, "Switches the flanger effect on and off."},
    {822, "Switches the reverse effect on and off."},
    {823, "Adjusts the playback speed."},

    // Main window record list tool tip
    {847, "Double click to open recording. Right click for more options."},

    {865, "You will need to install the latest version of Microsoft's DirectX to use this function.\n"
          "Would you like to install it now?"},
    {875, "\r\nIMPORTANT\r\n\r\nTo play the attached Navo recording you will require either Navo or the FREE Navo "
          "Video Player, which you can download from the Navo web site at https://navo.example.org/download/\r\n\r\n"},
    {876, " video mail attached"},
};
// clang-format on

constexpr bool inNumberOrderEachOnce()
{
    for (std::size_t i = 1; i < std::size(kStrings); ++i)
        if (kStrings[i - 1].id >= kStrings[i].id)
            return false;
    return true;
}
static_assert(inNumberOrderEachOnce(), "kStrings: keep the numbers ascending and each once (binary search)");

}  // namespace

StringTable::StringTable(const StringEntry* first, std::size_t count) : m_first(first), m_count(count) {}

const StringTable& StringTable::builtIn()
{
    static const StringTable table(kStrings, std::size(kStrings));
    return table;
}

const StringEntry* StringTable::find(unsigned id) const
{
    const StringEntry* it =
        std::lower_bound(begin(), end(), id, [](const StringEntry& e, unsigned wanted) { return e.id < wanted; });
    return (it != end() && it->id == id) ? it : nullptr;
}

std::string StringTable::load(unsigned id) const
{
    const StringEntry* e = find(id);
    return e ? ansiFromUtf8(e->utf8) : std::string();
}

QString StringTable::loadQ(unsigned id) const
{
    const StringEntry* e = find(id);
    return e ? QString::fromUtf8(e->utf8) : QString();
}

std::string LoadString(unsigned id)
{
    return StringTable::builtIn().load(id);
}

QString LoadStringQ(unsigned id)
{
    return StringTable::builtIn().loadQ(id);
}

bool HasString(unsigned id)
{
    return StringTable::builtIn().has(id);
}
