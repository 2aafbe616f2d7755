#include "particles/CDmxAttribute.h"

#include "particles/CDmxElement.h"
#include "particles/DmxPool.h"
#include "particles/DmxWalk.h"

namespace {

const char *const typeNames[] = {
    "NULL",          "ELEMENT",       "INTEGER",       "FLOAT",
    "BOOLEAN",       "STRING",        "BINARY",        "TIME",
    "COLOR",         "VECTOR2",       "VECTOR3",       "VECTOR4",
    "QANGLE",        "QUATERNION",    "MATRIX",        "ELEMENT_ARRAY",
    "INTEGER_ARRAY", "FLOAT_ARRAY",   "BOOLEAN_ARRAY", "STRING_ARRAY",
    "BINARY_ARRAY",  "TIME_ARRAY",    "COLOR_ARRAY",   "VECTOR2_ARRAY",
    "VECTOR3_ARRAY", "VECTOR4_ARRAY", "QANGLE_ARRAY",  "QUATERNION_ARRAY",
    "MATRIX_ARRAY",
};
static_assert(std::size(typeNames) == CDmxAttribute::ATTRIBUTE_TYPE_COUNT);

template<typename T> void *copyOf(const void *source)
{
    return new T(*static_cast<const T *>(source));
}

} // namespace

CDmxAttribute::~CDmxAttribute()
{
    freeValue();
}

void *CDmxAttribute::operator new(size_t size)
{
    Q_ASSERT(size == sizeof(CDmxAttribute));
    return DmxPool<sizeof(CDmxAttribute)>::allocate();
}

void CDmxAttribute::operator delete(void *block) noexcept
{
    DmxPool<sizeof(CDmxAttribute)>::release(block);
}

QString CDmxAttribute::attributeTypeToAttributeName(ParticleAttributeType_t type)
{
    if (type < 0 || type >= ATTRIBUTE_TYPE_COUNT)
        return QStringLiteral("UNKNOWN");
    return QString::fromLatin1(typeNames[type]);
}

void CDmxAttribute::deleteValue(ParticleAttributeType_t type, void *value)
{
    if (!value)
        return;
    switch (type) {
    case ATTRIBUTE_ELEMENT:
        delete static_cast<CDmxElement *>(value);
        break;
    case ATTRIBUTE_INTEGER:
        delete static_cast<DmxInteger *>(value);
        break;
    case ATTRIBUTE_FLOAT:
    case ATTRIBUTE_TIME:
        delete static_cast<DmxFloat *>(value);
        break;
    case ATTRIBUTE_BOOLEAN:
        delete static_cast<DmxBoolean *>(value);
        break;
    case ATTRIBUTE_STRING:
        delete static_cast<DmxString *>(value);
        break;
    case ATTRIBUTE_BINARY:
        delete static_cast<DmxBinary *>(value);
        break;
    case ATTRIBUTE_COLOR:
        delete static_cast<DmxColor *>(value);
        break;
    case ATTRIBUTE_VECTOR2:
        delete static_cast<DmxVector2 *>(value);
        break;
    case ATTRIBUTE_VECTOR3:
    case ATTRIBUTE_QANGLE:
        delete static_cast<DmxVector3 *>(value);
        break;
    case ATTRIBUTE_VECTOR4:
    case ATTRIBUTE_QUATERNION:
        delete static_cast<DmxVector4 *>(value);
        break;
    case ATTRIBUTE_MATRIX:
        delete static_cast<DmxMatrix *>(value);
        break;
    case ATTRIBUTE_ELEMENT_ARRAY: {
        auto *list = static_cast<DmxElementArray *>(value);
        qDeleteAll(*list);
        delete list;
        break;
    }
    default:
        if (isArrayType(type)) {
            auto *list = static_cast<DmxValueArray *>(value);
            const auto itemType = ParticleAttributeType_t(type - ArrayOffset);
            for (void *item : std::as_const(*list))
                deleteValue(itemType, item);
            delete list;
        }
        // Values of unknown ids cannot exist: setValue stores none.
        break;
    }
}

void CDmxAttribute::freeValue()
{
    if (!value)
        return;
    if (isInside()) {
        // The list lives here; the elements or items it holds are owned like any value.
        if (ownsValue && type == ATTRIBUTE_ELEMENT_ARRAY) {
            qDeleteAll(*elementArray());
        } else if (ownsValue && isArrayType(type)) {
            const auto itemType = ParticleAttributeType_t(type - ArrayOffset);
            for (void *item : std::as_const(*valueArray()))
                deleteValue(itemType, item);
        }
        destroyInside();
    } else if (ownsValue) {
        deleteValue(type, value);
    }
    value = nullptr;
}

void CDmxAttribute::destroyInside()
{
    switch (type) {
    case ATTRIBUTE_STRING:
        static_cast<DmxString *>(value)->~DmxString();
        break;
    case ATTRIBUTE_BINARY:
        static_cast<DmxBinary *>(value)->~DmxBinary();
        break;
    case ATTRIBUTE_ELEMENT_ARRAY:
        static_cast<DmxElementArray *>(value)->~DmxElementArray();
        break;
    default:
        if (isArrayType(type))
            static_cast<DmxValueArray *>(value)->~DmxValueArray();
        // The other values that live here need no destruction.
        break;
    }
}

bool CDmxAttribute::setValue(ParticleAttributeType_t newType, const void *newValue)
{
    freeValue();
    type = newType;
    if (newType == ATTRIBUTE_NULL)
        return true;
    // A value of an id outside the table could never be freed; callers pass none.
    if (!newValue || newType < 0 || newType >= ATTRIBUTE_TYPE_COUNT) {
        type = ATTRIBUTE_NULL;
        return false;
    }
    value = const_cast<void *>(newValue);
    return true;
}

void *CDmxAttribute::releaseValue()
{
    void *held = value;
    if (held && isInside()) {
        // A value that lives here moves out into an object of its own.
        switch (type) {
        case ATTRIBUTE_INTEGER:
            held = new DmxInteger(*static_cast<DmxInteger *>(value));
            break;
        case ATTRIBUTE_FLOAT:
        case ATTRIBUTE_TIME:
            held = new DmxFloat(*static_cast<DmxFloat *>(value));
            break;
        case ATTRIBUTE_BOOLEAN:
            held = new DmxBoolean(*static_cast<DmxBoolean *>(value));
            break;
        case ATTRIBUTE_STRING:
            held = new DmxString(std::move(*static_cast<DmxString *>(value)));
            break;
        case ATTRIBUTE_BINARY:
            held = new DmxBinary(std::move(*static_cast<DmxBinary *>(value)));
            break;
        case ATTRIBUTE_COLOR:
            held = new DmxColor(*static_cast<DmxColor *>(value));
            break;
        case ATTRIBUTE_VECTOR2:
            held = new DmxVector2(*static_cast<DmxVector2 *>(value));
            break;
        case ATTRIBUTE_VECTOR3:
        case ATTRIBUTE_QANGLE:
            held = new DmxVector3(*static_cast<DmxVector3 *>(value));
            break;
        case ATTRIBUTE_VECTOR4:
        case ATTRIBUTE_QUATERNION:
            held = new DmxVector4(*static_cast<DmxVector4 *>(value));
            break;
        case ATTRIBUTE_ELEMENT_ARRAY:
            held = new DmxElementArray(std::move(*static_cast<DmxElementArray *>(value)));
            break;
        default:
            held = new DmxValueArray(std::move(*static_cast<DmxValueArray *>(value)));
            break;
        }
        destroyInside();
    }
    value = nullptr;
    type = ATTRIBUTE_NULL;
    return held;
}

void CDmxAttribute::dropElementReferences()
{
    if (type == ATTRIBUTE_ELEMENT) {
        value = nullptr;
        type = ATTRIBUTE_NULL;
    } else if (type == ATTRIBUTE_ELEMENT_ARRAY) {
        elementArray()->clear();
    }
}

CDmxAttribute *CDmxAttribute::clone() const
{
    DmxWalk walk;
    walk.budget = CDmxElement::MaxHierarchyNodes;
    return cloneWithin(walk);
}

void *CDmxAttribute::cloneSimpleValueAsType(void *source, ParticleAttributeType_t itemType) const
{
    DmxWalk walk;
    walk.budget = CDmxElement::MaxHierarchyNodes;
    return cloneSimpleWithin(walk, source, itemType);
}

CDmxAttribute *CDmxAttribute::cloneWithin(DmxWalk &walk) const
{
    auto copy = std::make_unique<CDmxAttribute>();
    copy->name = name;
    copy->ownsValue = ownsValue;
    if (type == ATTRIBUTE_NULL || !value)
        return copy.release();
    if (isSimpleType(type))
        return copySimpleInto(*copy, walk) ? copy.release() : nullptr;
    if (type == ATTRIBUTE_ELEMENT_ARRAY) {
        const DmxElementArray &items = *elementArray();
        auto *list = copy->emplaceValue<DmxElementArray>(type);
        list->reserve(items.size());
        for (CDmxElement *item : items) {
            CDmxElement *itemCopy = item->cloneWithin(walk);
            if (!itemCopy) {
                for (CDmxElement *done : std::as_const(*list))
                    CDmxElement::deleteTree(done);
                list->clear();
                return nullptr;
            }
            list->append(itemCopy);
        }
        return copy.release();
    }
    if (isArrayType(type)) {
        const auto itemType = ParticleAttributeType_t(type - ArrayOffset);
        const DmxValueArray &items = *valueArray();
        auto *list = copy->emplaceValue<DmxValueArray>(type);
        list->reserve(items.size());
        for (void *item : items)
            list->append(cloneSimpleWithin(walk, item, itemType));
        return copy.release();
    }
    return nullptr;
}

bool CDmxAttribute::copySimpleInto(CDmxAttribute &target, DmxWalk &walk) const
{
    switch (type) {
    case ATTRIBUTE_ELEMENT: {
        // A deep copy, whether or not this attribute owns its element; the copy that
        // holds it frees it (CDmxElement::deleteTree).
        CDmxElement *element = static_cast<const CDmxElement *>(value)->cloneWithin(walk);
        return element && target.setValue(type, element);
    }
    case ATTRIBUTE_INTEGER:
        target.emplaceValue<DmxInteger>(type, *static_cast<const DmxInteger *>(value));
        return true;
    case ATTRIBUTE_FLOAT:
    case ATTRIBUTE_TIME:
        target.emplaceValue<DmxFloat>(type, *static_cast<const DmxFloat *>(value));
        return true;
    case ATTRIBUTE_BOOLEAN:
        target.emplaceValue<DmxBoolean>(type, *static_cast<const DmxBoolean *>(value));
        return true;
    case ATTRIBUTE_STRING:
        target.emplaceValue<DmxString>(type, *static_cast<const DmxString *>(value));
        return true;
    case ATTRIBUTE_BINARY:
        target.emplaceValue<DmxBinary>(type, *static_cast<const DmxBinary *>(value));
        return true;
    case ATTRIBUTE_COLOR:
        target.emplaceValue<DmxColor>(type, *static_cast<const DmxColor *>(value));
        return true;
    case ATTRIBUTE_VECTOR2:
        target.emplaceValue<DmxVector2>(type, *static_cast<const DmxVector2 *>(value));
        return true;
    case ATTRIBUTE_VECTOR3:
    case ATTRIBUTE_QANGLE:
        target.emplaceValue<DmxVector3>(type, *static_cast<const DmxVector3 *>(value));
        return true;
    case ATTRIBUTE_VECTOR4:
    case ATTRIBUTE_QUATERNION:
        target.emplaceValue<DmxVector4>(type, *static_cast<const DmxVector4 *>(value));
        return true;
    case ATTRIBUTE_MATRIX:
        target.emplaceValue<DmxMatrix>(type, *static_cast<const DmxMatrix *>(value));
        return true;
    default:
        return false;
    }
}

void *CDmxAttribute::cloneSimpleWithin(DmxWalk &walk, void *source,
                                       ParticleAttributeType_t itemType) const
{
    if (!source)
        return nullptr;
    switch (itemType) {
    case ATTRIBUTE_ELEMENT:
        // A deep copy, whether or not this attribute owns its element.
        return static_cast<const CDmxElement *>(source)->cloneWithin(walk);
    case ATTRIBUTE_INTEGER:
        return copyOf<DmxInteger>(source);
    case ATTRIBUTE_FLOAT:
    case ATTRIBUTE_TIME:
        return copyOf<DmxFloat>(source);
    case ATTRIBUTE_BOOLEAN:
        return copyOf<DmxBoolean>(source);
    case ATTRIBUTE_STRING:
        return copyOf<DmxString>(source);
    case ATTRIBUTE_BINARY:
        return copyOf<DmxBinary>(source);
    case ATTRIBUTE_COLOR:
        return copyOf<DmxColor>(source);
    case ATTRIBUTE_VECTOR2:
        return copyOf<DmxVector2>(source);
    case ATTRIBUTE_VECTOR3:
    case ATTRIBUTE_QANGLE:
        return copyOf<DmxVector3>(source);
    case ATTRIBUTE_VECTOR4:
    case ATTRIBUTE_QUATERNION:
        return copyOf<DmxVector4>(source);
    case ATTRIBUTE_MATRIX:
        return copyOf<DmxMatrix>(source);
    default:
        return nullptr;
    }
}
