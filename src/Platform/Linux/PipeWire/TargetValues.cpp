// SPDX-License-Identifier: Apache-2.0
#include "TargetValues.h"

#include "Foundation/Product.h"

#include <algorithm>
#include <string_view>

namespace vello {

namespace {

constexpr const char* kRepeatedTypes[] = {"Spa:Int", "Spa:Long"};
constexpr char kChosenType[] = "Spa:Id";

} // namespace

bool namesACapture(const std::optional<MetadataValue>& target) {
    return target && std::string_view(target->value).starts_with(kTapNamePrefix);
}

MetadataValue targetByName(const std::string& name) {
    return {"Spa:String", name};
}

MetadataValue chosenTargetNode(const std::string& value) {
    return {kChosenType, value};
}

MetadataValue repeatedTargetNode(const std::string& value, unsigned writes) {
    return {kRepeatedTypes[writes % std::size(kRepeatedTypes)], value};
}

bool isRepeated(const MetadataValue& targetNode) {
    return std::ranges::find(kRepeatedTypes, targetNode.type) != std::end(kRepeatedTypes);
}

std::optional<MetadataValue> asChosen(std::optional<MetadataValue> targetNode) {
    if (targetNode && isRepeated(*targetNode))
        targetNode->type = kChosenType;
    return targetNode;
}

} // namespace vello
