// Paths: names for nodes and attributes that can be stored as text and followed again.

#include <db2/db2.h>

#include <cstdio>

namespace {

constexpr unsigned int kPartType = 1;

} // namespace

int main()
{
    const db2::Module module;
    db2::NodeRegistry registry;
    auto* const partType = new db2::NodeTemplate(L"Part", kPartType, module);
    partType->addAttribute(db2::FloatAttributeMetaDataDef(), L"length");
    db2::Vector3AttributeMetaDataDef points;
    points.setArray(true);
    partType->addAttribute(points, L"points");
    registry.registerNodeTemplate(partType);

    db2::CoreManager core(registry, kPartType);
    db2::Node* arm = nullptr;
    db2::Node* hand = nullptr;
    core.db_createNode(kPartType, L"arm", nullptr, nullptr, &arm);
    core.db_createNode(kPartType, L"left hand", arm, nullptr, &hand);
    core.db_resizeAttributeArray(hand->findAttributeArrayByName(L"points"), 4);

    kqx::String path;
    db2::dbu_attributeToPath(core.getRoot(), hand->findAttributeArrayByName(L"points")->getAttribute(3), &path);
    std::printf("%ls\n", path.c_str()); // |arm|left\ hand:points[3]

    db2::Attribute* point = nullptr;
    db2::Status status = db2::dbu_pathToAttribute(core.getRoot(), path.c_str(), &point);
    const bool isSame = status == db2::Status::kSuccess && point->getIndex() == 3 && point->getNode() == hand;

    // Relative to another node, here to the arm
    db2::dbu_nodeToPath(arm, hand, &path);
    std::printf("%ls\n", path.c_str()); // |left\ hand

    // Names that come from users are escaped one by one
    kqx::String typed = L"|arm|";
    db2::dbu_appendEscapeNames(L"left hand", typed);
    typed += L".length";
    status = db2::dbu_resolvePath(core.getRoot(), typed.c_str(), &hand, nullptr, &point);
    const bool isFound = status == db2::Status::kSuccess && point == hand->findAttributeByName(L"length");

    // What is wrong with a path is told apart from what is not there
    const bool isWrong = db2::dbu_validatePath(L"|arm..length") == db2::Status::kAdjacentReservedCharacters;
    const bool isMissing =
        db2::dbu_pathToNode(core.getRoot(), L"|leg", &hand) == db2::Status::kPathNotResolved && hand == nullptr;
    return isSame && isFound && isWrong && isMissing ? 0 : 1;
}
