// Store compression as the main window reaches it: the compression dialog
// over the open store, saving through the store service.
#pragma once

#include "core/StartupServices.h"

class StoreCompression : public CompressionService {
public:
    explicit StoreCompression(StoreService& store) : m_store(store) {}
    // The dialog, modal; the result of its save (0, 103, 106 or 107).
    int runDialog(AppData& app, QWidget* owner) override;

private:
    StoreService& m_store;
};
