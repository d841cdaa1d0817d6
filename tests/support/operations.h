#pragma once

#include "support/machine.h"

#include <merocore/error.h>
#include <merocore/list.h>
#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <memory>

/// Shared by the tests of unit operations: lists of names for C++ and C.
namespace MERO::Test {

using Texts = std::vector<std::string>;

struct FreeList {
    void operator()(MLIBCSzList* list) const { MLIBCSzListFree(list); }
};
using List = std::unique_ptr<MLIBCSzList, FreeList>;

inline List MakeList(const Texts& texts)
{
    MLIBCSzList* list = MLIBCSzListAlloc();
    for (const std::string& text : texts) {
        MLIBCSzListPush(&list, text.c_str());
    }
    return List(list);
}

/// A list that callers must not pass: "a" and a null item.
inline List ListWithNull()
{
    MLIBCSzList* list = MakeList({"a"}).release();
    MLIBCSzListPush(&list, nullptr);
    return List(list);
}

inline Texts Items(const MLIBCSzList* list)
{
    Texts texts;
    for (int i = 0; i < MLIBCSzListCount(list); ++i) {
        texts.emplace_back(MLIBCSzListGet(list, i));
    }
    return texts;
}

} // namespace MERO::Test
