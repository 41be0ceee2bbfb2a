#include "audio/ExportLauncher.h"

#include "audio/FileConverterDialog.h"
#include "audio/RecordExporter.h"

int ExportLauncher::exportRecords(AppData& app, int kind, const std::vector<std::string>& recIds, QWidget* owner)
{
    RecordExporter exporter(app, [owner](std::vector<FileConverter::Job> jobs) {
        return FileConverterDialog::run(std::move(jobs), owner);
    });
    return exporter.exportRecords(kind, recIds).exported;
}
