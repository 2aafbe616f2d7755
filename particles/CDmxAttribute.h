#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <array>
#include <new>
#include <utility>

class CDmxElement;
struct DmxWalk;

// The value forms behind CDmxAttribute::value, by type id. Array ids hold a list of pointers
// to items of the item form (an element array holds the element pointers themselves).
using DmxInteger = qint32;
using DmxFloat = float;
using DmxBoolean = quint8;
using DmxString = QString;
using DmxBinary = QByteArray;
using DmxTime = float;
using DmxColor = std::array<quint8, 4>;
using DmxVector2 = std::array<float, 2>;
using DmxVector3 = std::array<float, 3>;
using DmxVector4 = std::array<float, 4>;
using DmxQAngle = DmxVector3;
using DmxQuaternion = DmxVector4;
using DmxMatrix = std::array<float, 16>;
using DmxElementArray = QList<CDmxElement *>;
using DmxValueArray = QList<void *>;

// One named, typed value of an element. The type id is also the byte stored in PCF files.
class CDmxAttribute
{
public:
    enum ParticleAttributeType_t {
        ATTRIBUTE_NULL = 0,
        ATTRIBUTE_ELEMENT,
        ATTRIBUTE_INTEGER,
        ATTRIBUTE_FLOAT,
        ATTRIBUTE_BOOLEAN,
        ATTRIBUTE_STRING,
        ATTRIBUTE_BINARY,
        ATTRIBUTE_TIME,
        ATTRIBUTE_COLOR,
        ATTRIBUTE_VECTOR2,
        ATTRIBUTE_VECTOR3,
        ATTRIBUTE_VECTOR4,
        ATTRIBUTE_QANGLE,
        ATTRIBUTE_QUATERNION,
        ATTRIBUTE_MATRIX,
        ATTRIBUTE_ELEMENT_ARRAY,
        ATTRIBUTE_INTEGER_ARRAY,
        ATTRIBUTE_FLOAT_ARRAY,
        ATTRIBUTE_BOOLEAN_ARRAY,
        ATTRIBUTE_STRING_ARRAY,
        ATTRIBUTE_BINARY_ARRAY,
        ATTRIBUTE_TIME_ARRAY,
        ATTRIBUTE_COLOR_ARRAY,
        ATTRIBUTE_VECTOR2_ARRAY,
        ATTRIBUTE_VECTOR3_ARRAY,
        ATTRIBUTE_VECTOR4_ARRAY,
        ATTRIBUTE_QANGLE_ARRAY,
        ATTRIBUTE_QUATERNION_ARRAY,
        ATTRIBUTE_MATRIX_ARRAY,
        ATTRIBUTE_TYPE_COUNT
    };
    // An array id is its item id plus this.
    static constexpr int ArrayOffset = ATTRIBUTE_ELEMENT_ARRAY - ATTRIBUTE_ELEMENT;

    CDmxAttribute() = default;
    ~CDmxAttribute();
    static void *operator new(size_t size);
    static void operator delete(void *block) noexcept;
    CDmxAttribute(const CDmxAttribute &) = delete;
    CDmxAttribute &operator=(const CDmxAttribute &) = delete;

    static QString attributeTypeToAttributeName(ParticleAttributeType_t type);
    [[nodiscard]] static bool isSimpleType(int type)
    {
        return type >= ATTRIBUTE_ELEMENT && type <= ATTRIBUTE_MATRIX;
    }
    [[nodiscard]] static bool isArrayType(int type)
    {
        return type >= ATTRIBUTE_ELEMENT_ARRAY && type <= ATTRIBUTE_MATRIX_ARRAY;
    }
    // Frees a value of the given form made with new; element values take their elements
    // with them.
    static void deleteValue(ParticleAttributeType_t type, void *value);

    QString getValueAsString() const;
    // Null on success, else the message to show; the value is unchanged on failure.
    const char *setValueFromString(const QString &text);
    // Takes ownership of value and frees the present one when this attribute owns it.
    [[nodiscard]] bool setValue(ParticleAttributeType_t newType, const void *newValue);
    // Makes a new value of the type in place: small values live inside the attribute, and
    // `value` points there. The present value goes as with setValue.
    template<typename T, typename... Args>
    T *emplaceValue(ParticleAttributeType_t newType, Args &&...args);
    // Gives the value up without freeing it, as an object of its own that the caller now
    // owns; the attribute is left of type 0.
    void *releaseValue();
    // Lets go of the elements an element value names without freeing them: an ELEMENT value
    // is dropped, an element list emptied.
    void dropElementReferences();

    CDmxAttribute *clone() const;
    // A new copy of one value of type 1 to 14, null for other ids or a failed element copy.
    void *cloneSimpleValueAsType(void *source, ParticleAttributeType_t itemType) const;

    // Typed views of the value; null when the type does not match.
    CDmxElement *elementValue() const
    {
        return type == ATTRIBUTE_ELEMENT ? static_cast<CDmxElement *>(value) : nullptr;
    }
    DmxElementArray *elementArray() const
    {
        return type == ATTRIBUTE_ELEMENT_ARRAY ? static_cast<DmxElementArray *>(value) : nullptr;
    }
    DmxValueArray *valueArray() const
    {
        return isArrayType(type) && type != ATTRIBUTE_ELEMENT_ARRAY
            ? static_cast<DmxValueArray *>(value)
            : nullptr;
    }

    quint16 nameIndex = 0;
    quint16 valueIndex = 0;
    QString name;
    bool ownsValue = true;
    ParticleAttributeType_t type = ATTRIBUTE_NULL;
    void *value = nullptr;

private:
    friend class CDmxElement;

    static constexpr size_t StorageSize = 24;
    template<typename T>
    static constexpr bool fitsInside = sizeof(T) <= StorageSize && alignof(T) <= alignof(void *);

    bool isInside() const { return value == static_cast<const void *>(storage); }
    void freeValue();
    void destroyInside();
    CDmxAttribute *cloneWithin(DmxWalk &walk) const;
    void *cloneSimpleWithin(DmxWalk &walk, void *source, ParticleAttributeType_t itemType) const;
    [[nodiscard]] bool copySimpleInto(CDmxAttribute &target, DmxWalk &walk) const;

    // Room for a value of up to three pointers, so that most attributes need no value of
    // their own on the heap; attributes are never copied or moved, so `value` stays valid.
    alignas(void *) unsigned char storage[StorageSize];
};

template<typename T, typename... Args>
T *CDmxAttribute::emplaceValue(ParticleAttributeType_t newType, Args &&...args)
{
    freeValue();
    T *made;
    if constexpr (fitsInside<T>)
        made = new (storage) T(std::forward<Args>(args)...);
    else
        made = new T(std::forward<Args>(args)...);
    type = newType;
    value = made;
    return made;
}
