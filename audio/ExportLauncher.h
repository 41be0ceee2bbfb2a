// The record exports as the main window (and the search results) reach
// them: RecordExporter over the open store, its conversions run in the File
// Converter dialog.
#pragma once

#include "core/StartupServices.h"

class ExportLauncher : public ExportService {
public:
    int exportRecords(AppData& app, int kind, const std::vector<std::string>& recIds, QWidget* owner) override;
};
