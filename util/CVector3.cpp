#include "util/CVector3.h"

CVector3 CVector3::operator+(const CVector3 &other) const
{
    return CVector3(x + other.x, y + other.y, z + other.z);
}

CVector3 CVector3::operator-(const CVector3 &other) const
{
    return CVector3(x - other.x, y - other.y, z - other.z);
}

bool CVector3::operator<(const CVector3 &other) const
{
    return getUnsquaredLength() < other.getUnsquaredLength();
}

bool CVector3::operator<(float length) const
{
    return getUnsquaredLength() < length * length;
}

bool CVector3::operator<=(const CVector3 &other) const
{
    return *this < other || *this == other;
}

bool CVector3::operator<=(float length) const
{
    return getUnsquaredLength() <= length * length;
}

bool CVector3::operator>(const CVector3 &other) const
{
    return !(*this < other);
}

bool CVector3::operator>(float length) const
{
    return !(*this < length);
}

bool CVector3::operator>=(const CVector3 &other) const
{
    return *this > other || *this == other;
}

bool CVector3::operator>=(float length) const
{
    return *this > length;
}

bool CVector3::operator==(const CVector3 &other) const
{
    return x == other.x && y == other.y && z == other.z;
}

bool CVector3::operator==(float length) const
{
    return getUnsquaredLength() == length * length;
}
