#pragma once

class CVector2
{
public:
    CVector2() = default;
    CVector2(float x, float y)
        : x(x)
        , y(y)
    { }

    float x = 0.0f;
    float y = 0.0f;
};
