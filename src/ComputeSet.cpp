#include <db2/ComputeSet.h>

namespace db2 {

ComputeSet::ComputeSet(const unsigned int* inputs, unsigned int inputCount, const unsigned int* outputs,
                       unsigned int outputCount, ComputeFunction function, void* userData)
    : userData_(userData), inputCount_(inputCount), outputCount_(outputCount), function_(function)
{
    indices_.reserve(std::size_t{inputCount} + outputCount);
    indices_.insert(indices_.end(), inputs, inputs + inputCount);
    indices_.insert(indices_.end(), outputs, outputs + outputCount);
}

} // namespace db2
