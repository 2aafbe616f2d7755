#pragma once

#include <QDialog>

class CDmxAttribute;
class QComboBox;
class QLineEdit;

// Asks for the name and type of a new attribute of an element.
class VParticleAddAttributeDialog : public QDialog
{
    Q_OBJECT

public:
    explicit VParticleAddAttributeDialog(QWidget *parent = nullptr);

    // A new attribute of the chosen name and type with the type's default value; an
    // unknown type text counts as ELEMENT. The caller owns it.
    CDmxAttribute *getNewAttribute() const;

public Q_SLOTS:
    // Accepts only with a name.
    void acceptCheck();

private:
    QLineEdit *nameEdit = nullptr;
    QComboBox *typeCombo = nullptr;
};
