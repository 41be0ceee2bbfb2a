#include "app/StoreCompression.h"

#include "app/CompressStoreDialog.h"
#include "core/AppData.h"
#include "platform/Trace.h"

int StoreCompression::runDialog(AppData& app, QWidget* owner)
{
    if (app.DataStorePath.empty() || app.StoreUnusable != kStoreHealthy) {
        OutputDebugString("Store compression skipped: no data store is open\n");
        return kNotAvailable;
    }
    CompressStoreDialog dialog(app.TempDir, app.DataStorePath, [this, &app] { return m_store.save(app); }, owner);
    dialog.exec();
    return dialog.saveResult();
}
