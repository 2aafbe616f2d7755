#pragma once

// The plain vector of the model file layouts.
struct Vector3
{
    float x, y, z;
};

// Vectors rank by their unsquared length; a float operand stands for a length by its square.
// Equal lengths count as greater: > is the negation of <, and >= the same as >.
class CVector3
{
public:
    CVector3() = default;
    CVector3(float x, float y, float z)
        : x(x)
        , y(y)
        , z(z)
    { }
    CVector3(const Vector3 &v)
        : x(v.x)
        , y(v.y)
        , z(v.z)
    { }

    float getUnsquaredLength() const { return x * x + y * y + z * z; }

    CVector3 operator+(const CVector3 &other) const;
    CVector3 operator-(const CVector3 &other) const;

    bool operator<(const CVector3 &other) const;
    bool operator<(float length) const;
    // Strictly shorter, or equal in all three components.
    bool operator<=(const CVector3 &other) const;
    bool operator<=(float length) const;
    bool operator>(const CVector3 &other) const;
    bool operator>(float length) const;
    bool operator>=(const CVector3 &other) const;
    bool operator>=(float length) const;
    // All three components equal.
    bool operator==(const CVector3 &other) const;
    // Lengths equal.
    bool operator==(float length) const;

    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
};
