#include "telephony/ProgramResources.h"

#include <QFile>

#include "res/resource.h"

ProgramResources::ProgramResources(QString folder) : m_folder(std::move(folder)) {}

const char* ProgramResources::fileName(int id)
{
    switch (id) {
    case IDR_WAVE_TONE:
        return "tone.wav";
    case IDR_WAVE_RING:
        return "ring.wav";
    default:
        return nullptr;
    }
}

QString ProgramResources::path(int id) const
{
    const char* name = fileName(id);
    return name == nullptr ? QString() : m_folder + QLatin1Char('/') + QLatin1String(name);
}

bool ProgramResources::loadWave(int id, std::string& bytes) const
{
    QFile file(path(id));
    if (path(id).isEmpty() || !file.open(QIODevice::ReadOnly))
        return false;
    bytes = file.readAll().toStdString();
    return true;
}

QUrl ProgramResources::url(int id) const
{
    const QString where = path(id);
    if (where.isEmpty())
        return {};
    if (where.startsWith(QLatin1Char(':')))
        return QUrl(QStringLiteral("qrc") + where);
    return QUrl::fromLocalFile(where);
}
