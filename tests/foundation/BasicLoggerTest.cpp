#include <KQutils/BasicLogger.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

class Recorder : public KQutils::BasicLogger
{
public:
    explicit Recorder(std::wstring* lines) : lines_(lines) {}
    ~Recorder() override { *lines_ += L"gone"; }
    void log(int level, const wchar_t* text) override { *lines_ += std::to_wstring(level) + L" " + text + L"\n"; }

private:
    std::wstring* lines_;
};

TEST(BasicLoggerTest, LinesReachTheHostsLogger)
{
    std::wstring lines;
    {
        const std::unique_ptr<KQutils::BasicLogger> logger = std::make_unique<Recorder>(&lines);
        logger->log(1, L"careful");
        logger->log(2, L"");
    }
    EXPECT_EQ(lines, L"1 careful\n2 \ngone");
}

} // namespace
