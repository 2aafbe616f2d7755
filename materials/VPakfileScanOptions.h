#pragma once

#include <QDialog>
#include <QList>

class QCheckBox;

// "Scan Options": one check box for each stage of the dependency scan, in bit order.
class VPakfileScanOptions : public QDialog
{
    Q_OBJECT

public:
    explicit VPakfileScanOptions(QWidget *parent = nullptr);

    void setMask(quint16 mask);
    quint16 mask() const;

private:
    QList<QCheckBox *> boxes;
};
