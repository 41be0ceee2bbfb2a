// The program's WAVE resources for the line library and the telephone
// windows: 3001 the tone after the greeting, 3003 the ring of the incoming-
// call window. They are compiled into navo under ":/res/sounds"; tests point
// at res/sounds in the source tree instead.
#pragma once

#include <QString>
#include <QUrl>

#include "maker/Ek7Tapi/Ek7Tapi.h"

class ProgramResources : public Ek7TapiResourceModule {
public:
    explicit ProgramResources(QString folder = QStringLiteral(":/res/sounds"));

    bool loadWave(int id, std::string& bytes) const override;
    // Where a sound player finds the resource ("qrc:..." or "file:..."); empty
    // for a number that is not a sound.
    QUrl url(int id) const;

    static const char* fileName(int id);  // "tone.wav"; nullptr when not a sound

private:
    QString path(int id) const;
    QString m_folder;
};
