// Deleting records from the main window: each record's line is marked dead in
// its family file (store compression drops it later), its index entry goes,
// and its record file leaves the store.
#pragma once

#include <string>
#include <vector>

struct AppData;

// The number of records that could not be deleted (0 when all went).
int deleteRecords(AppData& app, const std::vector<std::string>& recIdTexts);
