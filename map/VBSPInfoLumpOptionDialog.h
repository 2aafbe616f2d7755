#pragma once

#include <QDialog>

// Asks what to do with one lump of the inspector: extract it, replace it, or nothing.
class VBSPInfoLumpOptionDialog : public QDialog
{
    Q_OBJECT

public:
    enum Result_t { None = 0, Extract = 1, Replace = 2 };

    explicit VBSPInfoLumpOptionDialog(const QString &lumpHeader, QWidget *parent = nullptr);

    Result_t getResult() const { return result; }

private slots:
    void extractPressed();
    void replacePressed();

private:
    Result_t result = None;
};
