#pragma once

#include <merocore/hash.h>

#include <map>
#include <string>

/// Ordered, so that what is written from a table is the same every time.
struct MLIBCSzHash {
    std::map<std::string, std::string, std::less<>> texts;
};
