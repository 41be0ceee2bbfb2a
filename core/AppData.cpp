#include "core/AppData.h"

AppData& theAppData()
{
    static AppData data;
    return data;
}
