#pragma once

#include <merocore/hash.h>

#include <map>
#include <string>

/// Ordered, so that a table is always written in the same order.
struct MLIBCSzHash {
    std::map<std::string, std::string, std::less<>> texts;
};
