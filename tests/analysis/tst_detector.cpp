#include "detectsignals.h"
#include <gtest/gtest.h>
#include <cstdio>
using namespace detecttest;
TEST(Quick, Run)
{
    MemorySource src(3, kRate, 1024);
    auto t = regular(0.5, 0.8, 60.0);
    auto a = ecg(t, 60.0);
    src.setSamples({ a, a, a });
    DetectionRun run(src);
    for (const Beat& b : run.beats.beats())
        printf("%d %.3f %d rr=%.3f med=%.3f share=%.2f\n", b.index, b.timing[0], b.isBeat, b.timing[1], b.timing[2], b.timing[3]);
    printf("grades %d %d %d\n", run.detector.grade(0), run.detector.grade(1), run.detector.grade(2));
}
