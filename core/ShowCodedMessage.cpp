#include "core/ShowCodedMessage.h"

#include "platform/Prompt.h"
#include "res/MessageCatalogue.h"

int ShowCodedMessage(int code, UINT flags)
{
    return AfxMessageBox(MessageTextFor(code), flags);
}
