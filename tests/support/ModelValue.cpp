#include "ModelValue.h"

#include "Scene.h"

#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

namespace db2test {
namespace {

// --- Types ---

/// Calls @p visit with the C++ type of the values and the class of the definitions; not for Null, which has no value.
template <class Visit>
void visitType(AttributeTypeId type, Visit visit)
{
    // clang-format off
    switch (type)
    {
    case AttributeType::kInt: return visit.template operator()<int, IntAttributeMetaDataDef>();
    case AttributeType::kBool: return visit.template operator()<bool, BoolAttributeMetaDataDef>();
    case AttributeType::kColour: return visit.template operator()<kqx::Colour, ColourAttributeMetaDataDef>();
    case AttributeType::kFloat: return visit.template operator()<float, FloatAttributeMetaDataDef>();
    case AttributeType::kDouble: return visit.template operator()<double, DoubleAttributeMetaDataDef>();
    case AttributeType::kString: return visit.template operator()<kqx::String, StringAttributeMetaDataDef>();
    case AttributeType::kEnum: return visit.template operator()<int, EnumAttributeMetaDataDef>();
    case AttributeType::kVector3: return visit.template operator()<kqx::Vector3, Vector3AttributeMetaDataDef>();
    case AttributeType::kMatrix: return visit.template operator()<kqx::Matrix, MatrixAttributeMetaDataDef>();
    case AttributeType::kQuat: return visit.template operator()<kqx::Quat, QuatAttributeMetaDataDef>();
    case AttributeType::kVertexBuffer:
        return visit.template operator()<kqx::VertexBuffer, VertexBufferAttributeMetaDataDef>();
    case AttributeType::kIntArray: return visit.template operator()<kqx::IntArray, IntArrayAttributeMetaDataDef>();
    case AttributeType::kBoolArray: return visit.template operator()<kqx::BoolArray, BoolArrayAttributeMetaDataDef>();
    case AttributeType::kColourArray:
        return visit.template operator()<kqx::ColourArray, ColourArrayAttributeMetaDataDef>();
    case AttributeType::kFloatArray:
        return visit.template operator()<kqx::FloatArray, FloatArrayAttributeMetaDataDef>();
    case AttributeType::kDoubleArray:
        return visit.template operator()<kqx::DoubleArray, DoubleArrayAttributeMetaDataDef>();
    case AttributeType::kStringArray:
        return visit.template operator()<kqx::StringArray, StringArrayAttributeMetaDataDef>();
    case AttributeType::kVector3Array:
        return visit.template operator()<kqx::Vector3Array, Vector3ArrayAttributeMetaDataDef>();
    case AttributeType::kMatrixArray:
        return visit.template operator()<kqx::MatrixArray, MatrixArrayAttributeMetaDataDef>();
    case AttributeType::kQuatArray: return visit.template operator()<kqx::QuatArray, QuatArrayAttributeMetaDataDef>();
    case AttributeType::kNull:
    case AttributeType::kNoType: return;
    }
    // clang-format on
}

// --- From a value ---

void put(ModelValue& out, int value)
{
    out.numbers.push_back(static_cast<std::uint32_t>(value));
}
void put(ModelValue& out, bool value)
{
    out.numbers.push_back(value ? 1 : 0);
}
void put(ModelValue& out, float value)
{
    out.numbers.push_back(std::bit_cast<std::uint32_t>(value));
}
void put(ModelValue& out, double value)
{
    out.numbers.push_back(std::bit_cast<std::uint64_t>(value));
}
void put(ModelValue& out, const kqx::String& value)
{
    out.texts.emplace_back(value.begin(), value.end());
}
void putFloats(ModelValue& out, std::initializer_list<float> values)
{
    for (const float value : values)
        put(out, value);
}
void put(ModelValue& out, const kqx::Colour& value)
{
    putFloats(out, {value.r, value.g, value.b, value.a});
}
void put(ModelValue& out, const kqx::Vector3& value)
{
    putFloats(out, {value.x, value.y, value.z, value.w});
}
void put(ModelValue& out, const kqx::Quat& value)
{
    putFloats(out, {value.x, value.y, value.z, value.w});
}
void put(ModelValue& out, const kqx::Matrix& value)
{
    for (const auto& row : value.m)
        putFloats(out, {row[0], row[1], row[2], row[3]});
}
template <class T>
void put(ModelValue& out, const kqx::Array<T>& value)
{
    out.numbers.push_back(value.size());
    for (const T& element : value)
        put(out, element);
}
void put(ModelValue& out, const kqx::VertexBuffer& value)
{
    out.numbers.push_back(value.getStreamCount());
    for (unsigned int i = 0; i < value.getStreamCount(); ++i)
    {
        out.texts.emplace_back(value.getStreamName(i));
        out.numbers.push_back(value.getStreamComponents(i));
        put(out, value.getStream(i));
    }
}

// --- To a value ---

/// Takes a value's numbers and texts in the order in which they were put.
class Taker
{
public:
    explicit Taker(const ModelValue& value) : value_(value) {}

    void take(int& out) { out = static_cast<int>(static_cast<std::uint32_t>(number())); }
    void take(bool& out) { out = number() != 0; }
    void take(float& out) { out = std::bit_cast<float>(static_cast<std::uint32_t>(number())); }
    void take(double& out) { out = std::bit_cast<double>(number()); }
    void take(kqx::String& out)
    {
        const std::wstring& taken = text();
        out.assign(taken.data(), taken.size());
    }
    void take(kqx::Colour& out) { takeFloats({&out.r, &out.g, &out.b, &out.a}); }
    void take(kqx::Vector3& out) { takeFloats({&out.x, &out.y, &out.z, &out.w}); }
    void take(kqx::Quat& out) { takeFloats({&out.x, &out.y, &out.z, &out.w}); }
    void take(kqx::Matrix& out)
    {
        for (auto& row : out.m)
            takeFloats({&row[0], &row[1], &row[2], &row[3]});
    }
    template <class T>
    void take(kqx::Array<T>& out)
    {
        out.resize(static_cast<std::size_t>(number()));
        for (T& element : out)
            take(element);
    }
    void take(kqx::VertexBuffer& out)
    {
        out.clear();
        for (std::uint64_t left = number(); left > 0; --left)
        {
            const std::wstring& name = text();
            const unsigned int stream = out.addStream(name.c_str(), static_cast<unsigned int>(number()));
            take(out.getStream(stream));
        }
    }

private:
    std::uint64_t number() { return value_.numbers[nextNumber_++]; }
    const std::wstring& text() { return value_.texts[nextText_++]; }
    void takeFloats(std::initializer_list<float*> out)
    {
        for (float* const one : out)
            take(*one);
    }

    const ModelValue& value_;
    std::size_t nextNumber_ = 0;
    std::size_t nextText_ = 0;
};

template <class T>
T made(const ModelValue& value)
{
    T result{};
    Taker(value).take(result);
    return result;
}

// --- At random ---

template <class Number>
Number randomNumber(Random& random)
{
    using Limits = std::numeric_limits<Number>;
    if constexpr (Limits::is_integer)
    {
        const Number known[] = {0, 1, -1, Limits::min(), Limits::max()};
        return random.chance(1, 3) ? random.pick(known)
                                   : static_cast<Number>(static_cast<std::uint32_t>(random.bits()));
    }
    else
    {
        // No signalling NaN: a float that is handed on by value may become a quiet one on the way.
        const Number known[] = {0,
                                Number(-0.0),
                                1,
                                Number(-1.5),
                                Limits::min(),
                                Limits::lowest(),
                                Limits::max(),
                                Limits::infinity(),
                                Limits::denorm_min(),
                                Limits::quiet_NaN()};
        return random.chance(1, 3) ? random.pick(known)
                                   : static_cast<Number>(static_cast<std::int32_t>(random.bits())) / Number(1024);
    }
}

void putRandom(ModelValue& out, Random& random, int*)
{
    put(out, randomNumber<int>(random));
}
void putRandom(ModelValue& out, Random& random, bool*)
{
    put(out, random.chance(1, 2));
}
void putRandom(ModelValue& out, Random& random, float*)
{
    put(out, randomNumber<float>(random));
}
void putRandom(ModelValue& out, Random& random, double*)
{
    put(out, randomNumber<double>(random));
}
void putRandom(ModelValue& out, Random& random, kqx::String*)
{
    std::wstring text;
    static const std::wstring kPieces[] = {L"a", L"Bc", L"\"", L"\u00e9", L"\u4e2d", L"\U0001f600", L" 0123456789"};
    for (std::size_t left = random.below(5); left > 0; --left)
        text += random.pick(kPieces);
    out.texts.push_back(text);
}
template <class FourFloats>
requires(sizeof(FourFloats) % sizeof(float[4]) == 0) void putRandom(ModelValue& out, Random& random, FourFloats*)
{
    for (std::size_t left = sizeof(FourFloats) / sizeof(float); left > 0; --left)
        put(out, randomNumber<float>(random));
}
template <class T>
void putRandom(ModelValue& out, Random& random, kqx::Array<T>*)
{
    const std::size_t size = random.below(4);
    out.numbers.push_back(size);
    for (std::size_t left = size; left > 0; --left)
        putRandom(out, random, static_cast<T*>(nullptr));
}
void putRandom(ModelValue& out, Random& random, kqx::VertexBuffer*)
{
    const std::size_t streams = random.below(3);
    out.numbers.push_back(streams);
    for (std::size_t left = streams; left > 0; --left)
    {
        putRandom(out, random, static_cast<kqx::String*>(nullptr));
        out.numbers.push_back(1 + random.below(4));
        putRandom(out, random, static_cast<kqx::FloatArray*>(nullptr));
    }
}

} // namespace

ModelValue defaultModelValue(AttributeTypeId type)
{
    const std::uint64_t one = std::bit_cast<std::uint32_t>(1.0f);
    ModelValue value{type, {}, {}};
    switch (type)
    {
    case AttributeType::kNull: break;
    case AttributeType::kString: value.texts = {L""}; break;
    case AttributeType::kColour:
    case AttributeType::kVector3: value.numbers = {0, 0, 0, 0}; break;
    case AttributeType::kQuat: value.numbers = {0, 0, 0, one}; break;
    case AttributeType::kMatrix: value.numbers = {one, 0, 0, 0, 0, one, 0, 0, 0, 0, one, 0, 0, 0, 0, one}; break;
    default: // a number, or the size of an array, or the count of a VertexBuffer's streams
        value.numbers = {0};
        break;
    }
    return value;
}

ModelValue randomModelValue(AttributeTypeId type, Random& random)
{
    ModelValue value{type, {}, {}};
    visitType(type, [&]<class T, class>() { putRandom(value, random, static_cast<T*>(nullptr)); });
    return value;
}

ModelValue readValue(const ConstValueHandle& handle)
{
    ModelValue value{handle.getTypeId(), {}, {}};
    if (!handle.isNull())
    {
        visitType(handle.getTypeId(), [&]<class T, class>() {
            const T* stored = nullptr;
            handle.cast(&stored);
            put(value, *stored);
        });
    }
    return value;
}

void writeValue(const ValueHandle& handle, const ModelValue& value)
{
    visitType(value.type, [&]<class T, class>() {
        T* stored = nullptr;
        handle.cast(&stored);
        Taker(value).take(*stored);
    });
}

void writePlainValue(void* storage, const ModelValue& value)
{
    visitType(value.type, [&]<class T, class>() {
        if constexpr (std::is_trivially_copyable_v<T>)
        {
            const T written = made<T>(value);
            std::memcpy(storage, &written, sizeof(T));
        }
    });
}

ElementSpec plainElement(const wchar_t* name, AttributeTypeId type, bool isArray)
{
    return {name, type, isArray, 0, L"", defaultModelValue(type)};
}

std::unique_ptr<ElementMetaDataDef> makeDefinition(const ElementSpec& spec)
{
    std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(spec.type));
    definition->setArray(spec.isArray);
    definition->setFlags(spec.flags);
    if (!spec.docString.empty())
        definition->setDocString(spec.docString.c_str());
    if (spec.type == AttributeType::kEnum)
        static_cast<EnumAttributeMetaDataDef&>(*definition).addChoice(L"only");
    visitType(spec.type, [&]<class T, class Definition>() {
        static_cast<Definition&>(*definition).setDefaultValue(made<T>(spec.defaultValue));
    });
    return definition;
}

} // namespace db2test
