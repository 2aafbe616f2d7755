#pragma once

#include "packages/CCacheBlocks.h"
#include "packages/CDelegateNCF.h"

// A cache file with its data blocks: the directory of the base class plus the
// block chains that hold each file, and how scattered they are.
class CDelegateGCF : public CDelegateNCF
{
public:
    CDelegateGCF();
    ~CDelegateGCF() override;

    bool openPackage(const QString &path, bool readOnly) override;
    void closePackage() override;
    bool isPackageOpen() const override;
    int getPackageType() const override;

    unsigned int getPackageFileSizeOnDiskByIndex(unsigned int index) const override;
    using IPackageDelegate::getPackageFileByIndex;
    bool getPackageFileByIndex(QIODevice *device, unsigned int index) const override;

    quint64 getFragmentationPairByNode(const CPackageHierarchyNode *node) const;
    float getFragmentationByNode(const CPackageHierarchyNode *node) const;
    float getFragmentationByIndex(unsigned int index) const;
    float getFragmentationByPath(const QString &path) const;

    quint32 getBlockSize() const { return directory.blockSize(); }
    quint32 getBlockCount() const { return directory.blockCount(); }

private:
    CCacheBlocks blocks;
};
