#pragma once

#include "packages/CVPKDirectory.h"
#include "packages/IPackageDelegate.h"

#include <vector>

// Read-only access to a VPK: a directory file and the numbered archives beside it.
class CDelegateVPK : public IPackageDelegate
{
public:
    CDelegateVPK();
    ~CDelegateVPK() override;

    bool openPackage(const QString &path, bool readOnly) override;
    void closePackage() override;
    QString getPackagePath() const override;
    int getPackageType() const override;
    bool flush(FlushSyncronizer *sync) override;

    bool isPackageFileAtIndex(unsigned int index) const override;
    unsigned int getPackageFileSizeByIndex(unsigned int index) const override;
    unsigned int getPackageFileSizeOnDiskByIndex(unsigned int index) const override;
    using IPackageDelegate::getPackageFileByIndex;
    bool getPackageFileByIndex(QIODevice *device, unsigned int index) const override;
    bool generateInternalDirectoryStructure() override;

    // The record of an entry, or null past the table.
    const CVPKDirectory::Entry_t *getEntryByIndex(unsigned int index) const;
    // The file name of a numbered archive, empty when the package name has no
    // "_dir.vpk" to derive it from.
    QString getArchiveName(unsigned int archiveIndex) const;
    bool hasHeader() const { return directory.hasHeader; }
    quint32 getVersion() const { return directory.version; }
    quint32 getTreeSize() const { return directory.treeSize; }

private:
    // What a tree build knows of the directories that take files directly.
    struct TreeBuild_t
    {
        std::vector<int> slotOfPath; // per entry of directory.paths
        std::vector<CPackageHierarchyNode *> directories;
        std::vector<quint32> filesPerDirectory;
    };
    bool namesAreUnique(const TreeBuild_t &build) const;
    bool isAppendedFile(const TreeBuild_t &build, const CHierarchyNode *child, int slot) const;

    QString directoryPath;
    QString archiveBasePath;
    bool isDirectoryName = false;
    CVPKDirectory directory;
};
