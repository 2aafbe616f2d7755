#pragma once

#include "util/CFileClass.h"

#include <QBuffer>
#include <QByteArray>
#include <QDataStream>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QString>

// Base of a concrete file class T (class CFileFoo : public IFileClass<CFileFoo>). T reads
// itself in createFromStream and writes itself in serialize(QDataStream&); the rest of the
// chain (files, devices, byte arrays) lives here. Streams are little-endian with single
// precision floats.
//
// A T that overrides serialize(QDataStream&) or createFromStream(QDataStream&) hides the other
// overloads of that name; add "using IFileClass<T>::serialize;" and
// "using IFileClass<T>::createFromStream;" to T to keep them reachable through T.
template<typename T> class IFileClass : public CFileClass
{
public:
    using CFileClass::CFileClass;

    virtual bool serialize(QDataStream &stream) = 0;

    virtual bool serialize(QIODevice &device)
    {
        if (!device.isOpen() && !device.open(QIODevice::WriteOnly)) {
            lastError = QStringLiteral("Read Error: Unable to open device");
            return false;
        }
        QDataStream stream(&device);
        prepareStream(stream);
        return serialize(stream);
    }

    virtual bool serialize(QByteArray &bytes)
    {
        QBuffer buffer(&bytes);
        if (!buffer.open(QIODevice::WriteOnly)) {
            lastError = QStringLiteral("Read Error: Unable to open device");
            return false;
        }
        return serialize(static_cast<QIODevice &>(buffer));
    }

    virtual bool serialize(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) {
            lastError = QStringLiteral("Read Error: Unable to open device");
            return false;
        }
        return serialize(static_cast<QIODevice &>(file));
    }

    // Fills this object; on failure leaves the reason in lastError.
    virtual bool createFromStream(QDataStream &stream) = 0;

    // The creators return a new T or null; error receives the object's lastError also on
    // success.
    static T *createFromStream(QDataStream &stream, QString &error)
    {
        T *object = new T;
        IFileClass<T> *base = object;
        const bool ok = base->createFromStream(stream);
        error = base->lastError;
        if (!ok) {
            delete object;
            return nullptr;
        }
        return object;
    }

    static T *createFromDevice(QIODevice &device, QString &error)
    {
        if (!device.isOpen() && !device.open(QIODevice::ReadOnly)) {
            error = QStringLiteral("Read Error: Unable to open device");
            return nullptr;
        }
        QDataStream stream(&device);
        prepareStream(stream);
        return createFromStream(stream, error);
    }

    static T *createFromData(const QByteArray &bytes)
    {
        QBuffer buffer;
        buffer.setData(bytes);
        if (!buffer.open(QIODevice::ReadOnly))
            return nullptr;
        QString error;
        return createFromDevice(buffer, error);
    }

    static T *createFromFile(const QString &path, QString &error)
    {
        QFile file(path);
        if (!file.exists()) {
            error = QStringLiteral("Read Error: File does not exist");
            return nullptr;
        }
        if (!file.open(QIODevice::ReadOnly)) {
            error = QStringLiteral("Read Error: Unable to open device");
            return nullptr;
        }
        T *object = createFromDevice(file, error);
        if (object) {
            IFileClass<T> *base = object;
            base->filePath = path;
            base->fileName = QFileInfo(path).baseName();
        }
        return object;
    }

protected:
    static void prepareStream(QDataStream &stream)
    {
        stream.setByteOrder(QDataStream::LittleEndian);
        stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    }
};
