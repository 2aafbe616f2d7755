#pragma once

#include <QDialog>
#include <QList>

class CDmxElement;
class CFilePCF;
class QCheckBox;
class QListWidget;

// Chooses particle systems of a file to export or import, and whether the copies keep
// their GUIDs.
class VParticleSystemsDialog : public QDialog
{
    Q_OBJECT

public:
    VParticleSystemsDialog(const CFilePCF &file, const QString &title, QWidget *parent = nullptr);

    QList<CDmxElement *> chosenSystems() const;
    [[nodiscard]] bool preserveGUIDs() const;

private:
    QList<CDmxElement *> systems;
    QListWidget *list = nullptr;
    QCheckBox *preserve = nullptr;
};
