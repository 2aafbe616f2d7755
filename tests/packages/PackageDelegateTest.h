#pragma once

#include <QMap>
#include <QObject>
#include <QString>
#include <QTemporaryDir>

class IPackageDelegate;

// Tests every delegate must pass, run against a fixture package that a
// subclass builds. A subclass per delegate implements the hooks, adds its
// own private slots for what is particular to its format, and ends with
// QTEST_MAIN(ItsClass). List PackageDelegateTest.h and .cpp among its sources.
//
// The base owns initTestCase/cleanupTestCase/init/cleanup: a subclass must not
// declare slots of those names (they would hide these). Each test function
// gets a freshly opened delegate through delegate().
class PackageDelegateTest : public QObject
{
    Q_OBJECT

protected:
    // A new, unopened delegate of the kind under test.
    virtual IPackageDelegate *createDelegate() const = 0;
    // Writes the fixture package into `dir` and returns its path. Called once.
    virtual QString buildFixture(const QString &dir) = 0;
    // Package path (with "/") to content of every file in the fixture. At
    // least one file must lie in a subdirectory.
    virtual QMap<QString, QByteArray> fixtureFiles() const = 0;
    virtual int expectedPackageType() const = 0;
    // False for formats that list files but hold no content.
    virtual bool deliversContent() const { return true; }
    // False for read-only formats, whose flush must refuse.
    virtual bool supportsFlush() const { return false; }
    // Whether openPackage of the fixture is expected to leave
    // isPackageOpen() true.
    virtual bool staysOpen() const { return true; }

    // The delegate opened on the fixture for the running test function.
    IPackageDelegate *delegate() const { return current; }
    QString fixture() const { return fixturePath; }
    QString scratchDir() const { return temp.path(); }
    // A new delegate opened on `path`, or null (with a test failure logged).
    IPackageDelegate *openDelegate(const QString &path, bool readOnly = true) const;

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void reportsItsType();
    void emptyPathIsRefused();
    void treeHoldsEveryFile();
    void readsAlikeByIndexNodeAndPath();
    void pathsIgnoreCaseAndSeparator();
    void sizesAddUpOverDirectories();
    void deviceAndNodeChecks();
    void foreignNodeIsRefused();
    void pendingBytesOverrideAndRevert();
    void pendingPathIsReadAndMayVanish();
    void newFileMarkedForDeletionVanishes();
    void packageEntryMarkAndUnmark();
    void nullTableEntryGivesNullNodeText();
    void flushBehaviour();

private:
    QTemporaryDir temp;
    QString fixturePath;
    IPackageDelegate *current = nullptr;
};
