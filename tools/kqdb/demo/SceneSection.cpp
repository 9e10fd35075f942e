#include "Page.h"

#include "Html.h"

#include "Text.h"

#include <db2host/Scene.h>

#include <db2/AttributeArray.h>
#include <db2/Node.h>
#include <db2/NodeIterators.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <vector>

namespace kqdb {
namespace {

namespace scene = db2host::scene;

constexpr std::size_t kMostLines = 12000;
constexpr double kWidth = 760;
constexpr double kHeight = 440;
constexpr double kMargin = 20;
constexpr int kShades = 6; // of lines, by their distance

struct Point
{
    double x, y, z;
};

struct Line
{
    Point a, b;
};

const db2::Attribute& attributeOf(const db2::Node& node, unsigned int index)
{
    return *static_cast<const db2::Attribute*>(node.getElement(index));
}

bool isOf(const db2::Node& node, unsigned int typeId)
{
    return !node.isUnknown() && node.getTypeId() == typeId;
}

/// Row vectors, as the module has them.
Point transformed(const Point& p, const kqx::Matrix& by)
{
    const auto column = [&](int i) {
        return p.x * static_cast<double>(by.m[0][i]) + p.y * static_cast<double>(by.m[1][i]) +
               p.z * static_cast<double>(by.m[2][i]) + static_cast<double>(by.m[3][i]);
    };
    return {column(0), column(1), column(2)};
}

std::vector<Point> positionsOf(const db2::Node& mesh)
{
    std::vector<Point> points;
    const kqx::VertexBuffer& vertices = attributeOf(mesh, scene::mesh::kVertices).getValue().asVertexBuffer();
    for (unsigned int s = 0; s < vertices.getStreamCount(); ++s)
    {
        if (std::wstring_view(vertices.getStreamName(s)) != L"position" || vertices.getStreamComponents(s) != 3)
            continue;
        const kqx::FloatArray& numbers = vertices.getStream(s);
        for (std::size_t i = 0; i + 2 < numbers.size(); i += 3)
            points.push_back({static_cast<double>(numbers[i]), static_cast<double>(numbers[i + 1]),
                              static_cast<double>(numbers[i + 2])});
        break;
    }
    return points;
}

/// Puts vertices that bones move where they move them. @return false when the mesh has no bones.
bool moveByBones(const db2::Node& mesh, std::vector<Point>& points)
{
    std::vector<Point> moved(points.size(), Point{0, 0, 0});
    std::vector<double> weights(points.size(), 0);
    for (db2::ConstNodeIterator walk(&mesh); walk.next();)
    {
        const db2::Node& bone = *walk.node();
        if (!isOf(bone, scene::kBone))
            continue;
        const kqx::Matrix& skinning = attributeOf(bone, scene::bone::kSkinning).getValue().asMatrix();
        const kqx::IntArray& indices = attributeOf(bone, scene::bone::kVertexIndices).getValue().asIntArray();
        const kqx::FloatArray& boneWeights = attributeOf(bone, scene::bone::kWeights).getValue().asFloatArray();
        for (std::size_t i = 0; i < indices.size() && i < boneWeights.size(); ++i)
        {
            const auto vertex = static_cast<std::size_t>(indices[i]);
            if (indices[i] < 0 || vertex >= points.size())
                continue;
            const Point p = transformed(points[vertex], skinning);
            const auto weight = static_cast<double>(boneWeights[i]);
            moved[vertex] = {moved[vertex].x + weight * p.x, moved[vertex].y + weight * p.y,
                             moved[vertex].z + weight * p.z};
            weights[vertex] += weight;
        }
    }
    if (std::none_of(weights.begin(), weights.end(), [](double weight) { return weight > 0; }))
        return false;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (weights[i] > 0)
            points[i] = {moved[i].x / weights[i], moved[i].y / weights[i], moved[i].z / weights[i]};
    return true;
}

/// The lines of all meshes, each line once a mesh.
class LineCollector
{
public:
    void collect(const db2::Node& root)
    {
        for (db2::ConstNodeIterator walk(&root); walk.next() && lines.size() < kMostLines;)
            if (isOf(*walk.node(), scene::kMeshInstance))
                collectInstance(*walk.node());
    }

    std::vector<Line> lines;

private:
    void collectInstance(const db2::Node& instance)
    {
        const db2::Attribute* const self = attributeOf(instance, scene::meshinstance::kMesh).getReference();
        if (self == nullptr || !isOf(*self->getNode(), scene::kMesh))
            return;
        const db2::Node& mesh = *self->getNode();
        std::vector<Point> points = positionsOf(mesh);
        if (!moveByBones(mesh, points))
            moveByTransform(instance, points);
        collectFaces(mesh, points);
    }

    static void moveByTransform(const db2::Node& instance, std::vector<Point>& points)
    {
        const db2::Node* node = &instance;
        while (node != nullptr && !isOf(*node, scene::kTransform))
            node = node->getParent();
        if (node == nullptr)
            return;
        const kqx::Matrix& world = attributeOf(*node, scene::transform::kWorld).getValue().asMatrix();
        for (Point& point : points)
            point = transformed(point, world);
    }

    void collectFaces(const db2::Node& mesh, const std::vector<Point>& points)
    {
        const kqx::IntArray& indices = attributeOf(mesh, scene::mesh::kIndices).getValue().asIntArray();
        const kqx::IntArray& sizes = attributeOf(mesh, scene::mesh::kFaceSizes).getValue().asIntArray();
        std::set<std::array<std::size_t, 2>> known;
        std::size_t begin = 0;
        for (std::size_t face = 0; begin < indices.size() && lines.size() < kMostLines; ++face)
        {
            const std::size_t size = face < sizes.size() && sizes[face] > 0 ? static_cast<std::size_t>(sizes[face]) : 3;
            const std::size_t end = std::min(begin + size, indices.size());
            for (std::size_t i = begin; i < end; ++i)
            {
                const auto a = static_cast<std::size_t>(indices[i]);
                const auto b = static_cast<std::size_t>(indices[i + 1 < end ? i + 1 : begin]);
                if (a < points.size() && b < points.size() && a != b &&
                    known.insert({std::min(a, b), std::max(a, b)}).second)
                    lines.push_back({points[a], points[b]});
            }
            begin = end;
        }
    }
};

/// From above on the right: y is up.
Point viewed(const Point& p)
{
    constexpr double kTurn = 0.5; // radians
    constexpr double kTilt = 0.35;
    const double x = p.x * std::cos(kTurn) - p.z * std::sin(kTurn);
    const double z = p.x * std::sin(kTurn) + p.z * std::cos(kTurn);
    return {x, p.y * std::cos(kTilt) - z * std::sin(kTilt), p.y * std::sin(kTilt) + z * std::cos(kTilt)};
}

struct Bounds
{
    Point low{1e30, 1e30, 1e30};
    Point high{-1e30, -1e30, -1e30};

    void take(const Point& p)
    {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
};

std::string drawing(std::vector<Line> lines)
{
    Bounds bounds;
    for (Line& line : lines)
    {
        line = {viewed(line.a), viewed(line.b)};
        bounds.take(line.a);
        bounds.take(line.b);
    }
    const double width = std::max(bounds.high.x - bounds.low.x, 1e-9);
    const double height = std::max(bounds.high.y - bounds.low.y, 1e-9);
    const double depth = std::max(bounds.high.z - bounds.low.z, 1e-9);
    const double scale = std::min((kWidth - 2 * kMargin) / width, (kHeight - 2 * kMargin) / height);
    const auto place = [&](const Point& p) {
        return coordinate(kWidth / 2 + (p.x - (bounds.low.x + bounds.high.x) / 2) * scale) + ' ' +
               coordinate(kHeight / 2 - (p.y - (bounds.low.y + bounds.high.y) / 2) * scale);
    };
    std::array<std::string, kShades> paths; // the farthest first
    for (const Line& line : lines)
    {
        const double nearness = ((line.a.z + line.b.z) / 2 - bounds.low.z) / depth;
        const auto shade = static_cast<std::size_t>(std::clamp(nearness * kShades, 0.0, kShades - 1.0));
        paths[shade] += 'M' + place(line.a) + 'L' + place(line.b);
    }
    std::string page = "<svg class=\"scene\" xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + coordinate(kWidth) +
                       ' ' + coordinate(kHeight) + "\" role=\"img\"><title>The meshes of the scene</title>\n";
    for (std::size_t i = 0; i < paths.size(); ++i)
        if (!paths[i].empty())
            page += "<path class=\"near" + std::to_string(i) + "\" d=\"" + paths[i] + "\"/>\n";
    return page + "</svg>\n";
}

bool isFinite(const Line& line)
{
    return std::isfinite(line.a.x + line.a.y + line.a.z + line.b.x + line.b.y + line.b.z);
}

} // namespace

std::string sceneSection(const db2::Node& root)
{
    LineCollector collector;
    collector.collect(root);
    std::erase_if(collector.lines, [](const Line& line) { return !isFinite(line); });
    if (collector.lines.empty())
        return {};
    std::string page = drawing(std::move(collector.lines));
    return page;
}

} // namespace kqdb
