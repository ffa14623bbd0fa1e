#include <scenario/Group.h>

Group::Group() = default;

Group::~Group() = default;

bool Group::AcceptsChildKind(uint32_t childKind) {
    return childKind == ITEM_GROUP || childKind == ITEM_SCENARIO;
}
