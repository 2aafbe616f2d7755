#pragma once

#include "packages/CCacheDirectory.h"
#include "packages/IPackageDelegate.h"

// The directory of a cache file whose data lies elsewhere: a tree with sizes
// and no content.
class CDelegateNCF : public IPackageDelegate
{
public:
    CDelegateNCF();
    ~CDelegateNCF() override;

    bool openPackage(const QString &path, bool readOnly) override;
    void closePackage() override;
    bool isPackageOpen() const override;
    int getPackageType() const override;
    bool flush(FlushSyncronizer *sync) override;

    bool isPackageFileAtIndex(unsigned int index) const override;
    unsigned int getPackageFileSizeByIndex(unsigned int index) const override;
    unsigned int getPackageFileSizeOnDiskByIndex(unsigned int index) const override;
    using IPackageDelegate::getPackageFileByIndex;
    bool getPackageFileByIndex(QIODevice *device, unsigned int index) const override;
    bool generateInternalDirectoryStructure() override;

    QString getFileNameFromOffset(unsigned int offset) const;
    // The directory record of an entry, or null past the directory.
    const CCacheDirectory::Entry_t *getDirectoryEntry(unsigned int index) const;

protected:
    // Shared by both cache formats: the directory from its header on.
    bool readDirectory(class CArchiveReader &reader);

    CCacheDirectory directory;
};
