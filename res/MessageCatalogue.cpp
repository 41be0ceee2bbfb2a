// The code table, in code order (the lookup is a binary search).
//
// As a rule the number at the end of a message's text is its code, so
// "... : Info 006" is code 6. Codes 101 to 119 take strings 603 to 621 in
// order, except that 105, the question asked at start-up, uses 602; 607 is
// therefore unused.
#include "res/MessageCatalogue.h"

#include "platform/Codepage.h"
#include "res/StringTable.h"

#include <algorithm>
#include <iterator>

namespace {

// clang-format off
constexpr CodedMessage kMessages[] = {
    // Unsaved changes in a recorder, locked records
    {1, 628, nullptr},
    {2, 627, nullptr},
    {6, 660, nullptr},
    {7, 0, "Locked records cannot be added to the merge list : Info 007"},

    // Dialling out from the phone book
    {15, 0, "A telephone call is currently in progress.\nAction cancelled "},
    {16, 0, "The answer machine is currently active.\n"
            "Turn the answer machine off and try again.\n"
            "Action cancelled"},
    {17, 0, "Line monitoring must be active before you can dial out.\n"
            "Go back to the main dialog and click on the Phone icon.\n"
            "Action cancelled"},

    // The maker's web page could not be opened; store compression question
    {22, 791, nullptr},
    {24, 801, nullptr},

    // Data store, record files and index
    {101, 603, nullptr},
    {102, 604, nullptr},
    {103, 605, nullptr},
    {104, 606, nullptr},
    {105, 602, nullptr},
    {106, 608, nullptr},
    {107, 609, nullptr},
    {108, 610, nullptr},
    {109, 611, nullptr},
    {110, 612, nullptr},
    {111, 613, nullptr},
    {112, 614, nullptr},
    {113, 615, nullptr},
    {114, 616, nullptr},
    {115, 617, nullptr},
    {116, 618, nullptr},
    {117, 619, nullptr},
    {118, 620, nullptr},
    {119, 621, nullptr},
    {120, 0, "Error writing to Phone Book : Action cancelled : Error 120"},
    {126, 0, "Error creating temporary workspace for selected function : Error 126"},

    // Audit data inside record files
    {128, 0, "Error updating/creating audit data : Error 128"},
    {129, 0, "Error extracting audit data : Error 129"},
    {130, 0, "Navo file does not contain audit information : Info 130"},

    // Diary monitor
    {131, 690, nullptr},
    {132, 691, nullptr},

    // Players, recorders, mixing studio, effects
    {200, 624, nullptr},
    {202, 633, nullptr},
    {203, 638, nullptr},
    {204, 639, nullptr},
    {205, 640, nullptr},
    {206, 803, "Failed to open file with DirectX. Error 206\r\n"
               "Navo requires DirectX Version 9 in order to apply and play effects."},
    {207, 0, "The selected recording control could not be opened : Error 207"},

    // Sending by e-mail (502 to 504 are returned but never shown)
    {500, 657, nullptr},
    {501, 658, "An error occurred trying to send your Navo recording : Error 501."},

    // Use dictation as greeting: a compressed recording that would not convert
    {721, 0, "The compressed recording could not be made into a greeting : Error 721"},
};
// clang-format on

constexpr bool inCodeOrderEachOnce()
{
    for (std::size_t i = 1; i < std::size(kMessages); ++i)
        if (kMessages[i - 1].code >= kMessages[i].code)
            return false;
    return true;
}
static_assert(inCodeOrderEachOnce(), "kMessages: keep the codes ascending and each once (binary search)");

}  // namespace

MessageCatalogue::MessageCatalogue(const CodedMessage* first, std::size_t count) : m_first(first), m_count(count) {}

const MessageCatalogue& MessageCatalogue::builtIn()
{
    static const MessageCatalogue catalogue(kMessages, std::size(kMessages));
    return catalogue;
}

const CodedMessage* MessageCatalogue::find(int code) const
{
    const CodedMessage* it =
        std::lower_bound(begin(), end(), code, [](const CodedMessage& m, int wanted) { return m.code < wanted; });
    return (it != end() && it->code == code) ? it : nullptr;
}

unsigned MessageCatalogue::stringFor(int code) const
{
    const CodedMessage* m = find(code);
    return m ? m->stringId : kUndefinedMessage;
}

std::string MessageCatalogue::textFor(int code) const
{
    if (const CodedMessage* m = find(code)) {
        if (m->stringId != 0) {
            std::string text = LoadString(m->stringId);
            if (!text.empty())
                return text;
        }
        if (m->fallbackUtf8 != nullptr && *m->fallbackUtf8 != '\0')
            return ansiFromUtf8(m->fallbackUtf8);
    }
    return LoadString(kUndefinedMessage);
}

unsigned MessageStringFor(int code)
{
    return MessageCatalogue::builtIn().stringFor(code);
}

std::string MessageTextFor(int code)
{
    return MessageCatalogue::builtIn().textFor(code);
}
