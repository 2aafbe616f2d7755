#include "materials/ContentScanners.h"

#include "app/ProgramSettings_t.h"
#include "materials/CFileMDL.h"
#include "materials/CFilePHY.h"
#include "materials/CFileVMT.h"
#include "materials/CReferenceScan.h"

#include <QFile>

namespace {

bool readWhole(const QString &path, QByteArray &data)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    data = file.readAll();
    return true;
}

} // namespace

void CFileVMT::listReferencedContent(QStringList &found, const QString &root, QString &key,
                                     QString &value, QString &extra, QStringList *errors) const
{
    CReferenceScan(found, root, key, value, extra, errors, *ProgramSettings_t::get())
        .scanVMT(*this);
}

void CFileMDL::listReferencedContent(QStringList &found, const QString &root, QString &key,
                                     QString &value, QString &extra, QStringList *errors) const
{
    CReferenceScan(found, root, key, value, extra, errors, *ProgramSettings_t::get())
        .scanMDL(*this);
}

void CFilePHY::listReferencedContent(QStringList &found, const QString &root, QString &key,
                                     QString &value, QString &extra, QStringList *errors) const
{
    CReferenceScan(found, root, key, value, extra, errors, *ProgramSettings_t::get())
        .scanPHY(*this);
}

void scanSoundscript(const QByteArray &data, QStringList &found, QString &key, QString &value,
                     QString &extra, QStringList *errors)
{
    const QString noRoot;
    CReferenceScan(found, noRoot, key, value, extra, errors, *ProgramSettings_t::get())
        .scanSoundscript(data);
}

void scanSoundscript(const QString &path, QStringList &found, QString &key, QString &value,
                     QString &extra, QStringList *errors)
{
    QByteArray data;
    if (readWhole(path, data))
        scanSoundscript(data, found, key, value, extra, errors);
}

void scanPCF(const CFilePCF &file, QStringList &found, const QString &root, QString &key,
             QString &value, QString &extra, QString &systemName, QStringList *errors)
{
    CReferenceScan(found, root, key, value, extra, errors, *ProgramSettings_t::get())
        .scanPCF(file, systemName);
}

void scanParticleManifest(const QByteArray &data, QStringList &found, const QString &root,
                          QString &key, QString &value, QString &extra, QStringList *errors)
{
    CReferenceScan(found, root, key, value, extra, errors, *ProgramSettings_t::get())
        .scanParticleManifest(data);
}

void scanParticleManifest(const QString &path, QStringList &found, const QString &root,
                          QString &key, QString &value, QString &extra, QStringList *errors)
{
    QByteArray data;
    if (readWhole(path, data))
        scanParticleManifest(data, found, root, key, value, extra, errors);
}
