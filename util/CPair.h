#pragma once

// A plain two-field record.
template<typename A, typename B> struct CPair
{
    A first {};
    B second {};
};
