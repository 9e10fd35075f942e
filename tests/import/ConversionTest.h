#pragma once

#include "ImportTest.h"
#include "SceneBuilder.h"

#include <Conversion.h>

namespace db2test {

/// Converts scenes that the test makes.
class ConversionTest : public ImportTest
{
protected:
    db2import::ImportReport convert(bool isGltf2 = false)
    {
        db2import::ImportReport report;
        db2import::Editor edit(session.data(), session.core(), 0, report);
        report.model = &db2import::convert(builder.scene, L"model", isGltf2, session.root(), edit, [](float) {});
        EXPECT_EQ(session.data().db_commit(L"Import", nullptr, 0), Status::kSuccess);
        EXPECT_EQ(report.counts.nodes + 1, session.core().getStatistics().nodes);
        EXPECT_EQ(report.counts.dynamicAttributes, session.core().getStatistics().dynamicElements);
        return report;
    }

    SceneBuilder builder;
};

} // namespace db2test
