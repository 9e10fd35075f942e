#include "HostFixture.h"

#include "support/Random.h"

#include <array>
#include <cmath>
#include <vector>

namespace db2host::scene {
namespace {

// --- A naive computation of world matrices: points are carried up the tree, one Transform after the other ---

using Point = std::array<double, 3>;

Point rotated(const kqx::Quat& q, const Point& p)
{
    const double length = std::sqrt(double(q.x) * q.x + double(q.y) * q.y + double(q.z) * q.z + double(q.w) * q.w);
    if (length == 0)
        return p;
    const double x = q.x / length, y = q.y / length, z = q.z / length, w = q.w / length;
    // p + 2w (u x p) + 2 u x (u x p)
    const Point c = {y * p[2] - z * p[1], z * p[0] - x * p[2], x * p[1] - y * p[0]};
    const Point d = {y * c[2] - z * c[1], z * c[0] - x * c[2], x * c[1] - y * c[0]};
    return {p[0] + 2 * (w * c[0] + d[0]), p[1] + 2 * (w * c[1] + d[1]), p[2] + 2 * (w * c[2] + d[2])};
}

Point inWorld(const db2::Node* node, Point point)
{
    for (; node != nullptr; node = node->getParent())
    {
        if (node->getTypeId() != kTransform)
            continue;
        const kqx::Vector3& scale = attributeOf(node, transform::kScale)->getValue().getVector3();
        const kqx::Vector3& move = attributeOf(node, transform::kTranslation)->getValue().getVector3();
        const kqx::Quat& rotation = attributeOf(node, transform::kRotation)->getValue().getQuat();
        point = rotated(rotation, {point[0] * scale.x, point[1] * scale.y, point[2] * scale.z});
        point = {point[0] + move.x, point[1] + move.y, point[2] + move.z};
    }
    return point;
}

Point throughMatrix(const kqx::Matrix& matrix, const Point& p)
{
    Point result;
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = p[0] * matrix.m[0][i] + p[1] * matrix.m[1][i] + p[2] * matrix.m[2][i] + matrix.m[3][i];
    return result;
}

/// Whether the world matrix carries points where the Transforms above do.
::testing::AssertionResult isWorldRight(const db2::Node* node)
{
    const kqx::Matrix& world = attributeOf(node, transform::kWorld)->getValue().getMatrix();
    for (const Point& point : {Point{0, 0, 0}, Point{1, 0, 0}, Point{0, 1, 0}, Point{0, 0, 1}, Point{3, -2, 5}})
    {
        const Point expected = inWorld(node, point);
        const Point actual = throughMatrix(world, point);
        for (std::size_t i = 0; i < 3; ++i)
        {
            const double size = std::abs(expected[0]) + std::abs(expected[1]) + std::abs(expected[2]);
            if (!(std::abs(expected[i] - actual[i]) <= 1e-4 * (1000 + size)))
                return ::testing::AssertionFailure()
                       << "component " << i << " is " << actual[i] << ", not " << expected[i];
        }
    }
    const bool isAffine = world.m[0][3] == 0 && world.m[1][3] == 0 && world.m[2][3] == 0 && world.m[3][3] == 1;
    return isAffine ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << "the last column is wrong";
}

class SceneComputeTest : public HostTest
{
protected:
    template <class Value>
    void set(const db2::Node* node, unsigned int element, const Value& value)
    {
        db2::ValueHandle handle;
        ASSERT_EQ(session.data().db_lockAttribute(attributeOf(node, element), &handle), Status::kSuccess);
        Value* target = nullptr;
        handle.cast(&target);
        *target = value;
        ASSERT_EQ(session.data().db_unlockAttribute(attributeOf(node, element)), Status::kSuccess);
    }

    const kqx::Matrix& matrixOf(const db2::Node* node, unsigned int element)
    {
        return attributeOf(node, element)->getValue().getMatrix();
    }

    Session session{library, sceneSetup()};
};

TEST_F(SceneComputeTest, LocalScalesThenRotatesThenTranslates)
{
    db2::Node* const node = HostTest::transform(session, L"node");
    set(node, transform::kScale, kqx::Vector3(2, 3, 4));
    set(node, transform::kRotation, kqx::Quat(0, 0, std::sqrt(0.5f), std::sqrt(0.5f))); // x turns to y
    set(node, transform::kTranslation, kqx::Vector3(10, 20, 30));
    commit(session);
    const kqx::Matrix expected = [] {
        kqx::Matrix matrix;
        const float rows[4][4] = {{0, 2, 0, 0}, {-3, 0, 0, 0}, {0, 0, 4, 0}, {10, 20, 30, 1}};
        std::copy(&rows[0][0], &rows[0][0] + 16, &matrix.m[0][0]);
        return matrix;
    }();
    EXPECT_TRUE(matrixOf(node, transform::kLocal).compare(expected, 1e-5f));
    EXPECT_EQ(matrixOf(node, transform::kWorld), matrixOf(node, transform::kLocal));
}

TEST_F(SceneComputeTest, TheLengthOfARotationDoesNotCount)
{
    db2::Node* const node = HostTest::transform(session, L"node");
    set(node, transform::kRotation, kqx::Quat(0, 0, 7, 7));
    commit(session);
    EXPECT_NEAR(matrixOf(node, transform::kLocal).m[0][1], 1, 1e-6);
    set(node, transform::kRotation, kqx::Quat(0, 0, 0, 0));
    commit(session);
    EXPECT_EQ(matrixOf(node, transform::kLocal), kqx::Matrix::identity());
}

TEST_F(SceneComputeTest, AMovedParentMovesItsChildrenAtTheNextCommit)
{
    db2::Node* const arm = makeArm(session);
    translate(session, arm, 10, 0, 0);
    EXPECT_EQ(matrixOf(arm->getFirstChild(), transform::kWorld).m[3][0], 1);
    commit(session);
    EXPECT_EQ(matrixOf(arm->getFirstChild(), transform::kWorld).m[3][0], 11);
    session.undo().undo();
    EXPECT_EQ(matrixOf(arm->getFirstChild(), transform::kWorld).m[3][0], 1);
}

TEST_F(SceneComputeTest, ABonesSkinningGoesFromTheMeshByTheBindPoseToTheJoint)
{
    db2::Node* const joint = HostTest::transform(session, L"joint");
    db2::Node* boneNode = nullptr;
    ASSERT_EQ(session.data().db_createNode(kBone, L"bone", nullptr, nullptr, &boneNode), Status::kSuccess);
    ASSERT_EQ(session.data().db_createReference(attributeOf(joint, transform::kWorld),
                                                attributeOf(boneNode, bone::kJointWorld), false),
              Status::kSuccess);
    kqx::Matrix inverseBind;
    inverseBind.m[3][0] = -5;
    set(boneNode, bone::kInverseBind, inverseBind);
    set(joint, transform::kScale, kqx::Vector3(2, 1, 1));
    translate(session, joint, 5, 0, 0);
    commit(session);
    const kqx::Matrix& skinning = matrixOf(boneNode, bone::kSkinning);
    EXPECT_EQ(throughMatrix(skinning, {5, 0, 0}), (Point{5, 0, 0})); // bound there, it stays
    EXPECT_EQ(throughMatrix(skinning, {6, 0, 0}), (Point{7, 0, 0}));
}

// --- Random trees ---

/// Edits a tree of Transforms and Folders at random.
class RandomScene
{
public:
    RandomScene(Session& session, db2test::Random& random) : session_(session), random_(random) {}

    void edit()
    {
        switch (random_.below(8))
        {
        case 0:
        case 1: createTransform(session_.data(), nullptr, anyParent()); break;
        case 2: session_.data().db_createNode(kFolder, nullptr, anyParent(), nullptr, nullptr); break;
        case 3: move(); break;
        case 4:
            if (random_.chance(1, 3) && anyNode() != nullptr)
                db2::dbu_destroyNodeRecursively(anyNode(), &session_.data());
            break;
        default: place(); break;
        }
    }

    [[nodiscard]] std::vector<db2::Node*> nodes() const
    {
        std::vector<db2::Node*> all;
        for (db2::NodeIterator iterator(&session_.root()); iterator.next();)
            all.push_back(iterator.node());
        return all;
    }

private:
    db2::Node* anyNode()
    {
        const std::vector<db2::Node*> all = nodes();
        return all.empty() ? nullptr : random_.pick(all);
    }

    db2::Node* anyParent() { return random_.chance(1, 6) ? nullptr : anyNode(); }

    void move()
    {
        if (db2::Node* const node = anyNode())
            reparentTransform(session_.data(), *node, anyParent()); // under itself: refused, which is fine
    }

    float number(float from, float to)
    {
        return from + (to - from) * static_cast<float>(random_.below(1001)) / 1000.0f;
    }

    void place()
    {
        const db2::Node* const node = anyNode();
        if (node == nullptr || node->getTypeId() != kTransform)
            return;
        db2::ValueHandle value;
        const unsigned int elements[] = {transform::kTranslation, transform::kRotation, transform::kScale};
        db2::Attribute* const attribute = attributeOf(node, random_.pick(elements));
        session_.data().db_lockAttribute(attribute, &value);
        if (value.getTypeId() == db2::AttributeType::kQuat)
            value.getQuat() = {number(-1, 1), number(-1, 1), number(-1, 1), number(-1, 1)};
        else if (attribute == attributeOf(node, transform::kScale))
            value.getVector3() = {number(0.5f, 1.5f), number(-1.5f, -0.5f), number(0.5f, 1.5f)};
        else
            value.getVector3() = {number(-10, 10), number(-10, 10), number(-10, 10)};
        session_.data().db_unlockAttribute(attribute);
    }

    Session& session_;
    db2test::Random& random_;
};

TEST_F(SceneComputeTest, WorldMatricesAreRightAfterAnyEditsMovesUndoAndRedo)
{
    db2test::Random random = db2test::Random::fresh();
    SCOPED_TRACE(random.description());
    RandomScene scene(session, random);
    const std::wstring first = db2test::dumpTree(session.core(), db2test::DumpDetail::kContent);
    for (int step = 0; step < 400 && !HasFailure(); ++step)
    {
        if (random.chance(1, 6))
            session.undo().undo();
        else if (random.chance(1, 6))
            session.undo().redo();
        else
            for (std::size_t edits = random.below(6) + 1; edits > 0; --edits)
                scene.edit();
        commit(session);
        for (const db2::Node* const node : scene.nodes())
        {
            ASSERT_TRUE(node->getTypeId() != kTransform || isWorldRight(node)) << "step " << step;
        }
    }
    while (session.undo().canRedo())
        ASSERT_EQ(session.undo().redo(), Status::kSuccess);
    const std::wstring last = db2test::dumpTree(session.core(), db2test::DumpDetail::kContent);
    ASSERT_TRUE(session.saveAs(folder.file("scene.json")));
    Session other(library, sceneSetup());
    ASSERT_EQ(other.open(folder.file("scene.json")).status, Status::kSuccess);
    EXPECT_TRUE(isSameDump(last, db2test::dumpTree(other.core(), db2test::DumpDetail::kContent)));
    while (session.undo().canUndo())
        ASSERT_EQ(session.undo().undo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(first, db2test::dumpTree(session.core(), db2test::DumpDetail::kContent)));
    while (session.undo().canRedo())
        ASSERT_EQ(session.undo().redo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(last, db2test::dumpTree(session.core(), db2test::DumpDetail::kContent)));
}

} // namespace
} // namespace db2host::scene
