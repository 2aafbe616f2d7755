#pragma once

// A plain three-field record.
template<typename A, typename B, typename C> struct CTriplet
{
    A first {};
    B second {};
    C third {};
};
