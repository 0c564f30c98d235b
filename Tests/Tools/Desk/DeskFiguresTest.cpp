// Latencies, the figures of a run and when a run counts as exact.
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Desk/DeskReport.h"
#include "Desk/LatencyHistogram.h"

using testing::HasSubstr;

namespace {

std::unique_ptr<DeskDirection> Arrived(uint64_t periods) {
    auto direction = std::make_unique<DeskDirection>();
    direction->window.Open(3200, 3200 + periods * 32);
    direction->arrived = periods;
    direction->next = 3200 + periods * 32;
    return direction;
}

DeskFigures ExactFigures() {
    DeskFigures figures;
    figures.toPeer = DeskDirectionFigures::Of(*Arrived(500), 3200 + 500 * 32);
    figures.toCard = figures.toPeer;
    return figures;
}

} // namespace

TEST(LatencyHistogram, TellsQuantilesRoundedUpToItsStep) {
    const auto histogram = std::make_unique<LatencyHistogram>();
    for (int64_t i = 1; i <= 100; ++i)
        histogram->Add(i * 100'000 - 1);
    EXPECT_EQ(histogram->Quantile(0.5), 5'000'000);
    EXPECT_EQ(histogram->Quantile(0.99), 9'900'000);
    EXPECT_EQ(histogram->Quantile(1.0), 9'999'999);
    EXPECT_EQ(histogram->maxNs, 9'999'999);
}

TEST(LatencyHistogram, IsZeroWithoutLatencies) {
    const auto histogram = std::make_unique<LatencyHistogram>();
    EXPECT_EQ(histogram->Quantile(0.5), 0);
}

TEST(LatencyHistogram, KeepsTheLargestBeyondItsRange) {
    const auto histogram = std::make_unique<LatencyHistogram>();
    histogram->Add(5'000'000'000);
    histogram->Add(-20);
    EXPECT_EQ(histogram->Quantile(1.0), 5'000'000'000);
    EXPECT_EQ(histogram->Quantile(0.5), 10'000);
}

TEST(DeskFigures, AreExactWhenEverythingArrived) {
    const DeskFigures figures = ExactFigures();
    EXPECT_TRUE(figures.IsExact());
    EXPECT_EQ(figures.toPeer.expected, 500u);
    EXPECT_EQ(figures.toPeer.lost, 0u);
}

TEST(DeskFigures, CountTheMissingTailAsLost) {
    const auto direction = Arrived(500);
    const DeskDirectionFigures figures = DeskDirectionFigures::Of(*direction, 3200 + 510 * 32);
    EXPECT_EQ(figures.expected, 510u);
    EXPECT_EQ(figures.lost, 10u);
    EXPECT_FALSE(figures.IsExact());
}

TEST(DeskFigures, AreNotExactAfterAnythingWrong) {
    const auto isExactWith = [](auto change) {
        DeskFigures figures = ExactFigures();
        change(figures);
        return figures.IsExact();
    };
    EXPECT_FALSE(isExactWith([](DeskFigures &figures) { figures.toCard.lost = 1; }));
    EXPECT_FALSE(isExactWith([](DeskFigures &figures) { figures.toCard.outOfOrder = 1; }));
    EXPECT_FALSE(isExactWith([](DeskFigures &figures) { figures.toPeer.repeated = 1; }));
    EXPECT_FALSE(isExactWith([](DeskFigures &figures) { figures.toPeer.wrongSamples = 1; }));
    EXPECT_FALSE(isExactWith([](DeskFigures &figures) { figures.toPeer.xruns = 1; }));
    EXPECT_FALSE(isExactWith([](DeskFigures &figures) { figures.toPeer.arrived = 499; }));
    EXPECT_FALSE(isExactWith([](DeskFigures &figures) { figures.problems = {"anything"}; }));
    EXPECT_FALSE(DeskFigures().IsExact());
}

TEST(DeskReport, TellsEveryFigureAndProblem) {
    DeskFigures figures = ExactFigures();
    figures.toPeer.lost = 3;
    figures.toCard.wrongSamples = 77;
    figures.toPeer.medianMs = 1.234;
    figures.problems = {"the service ended early"};
    EXPECT_THAT(zr_desk_report(figures), testing::Not(HasSubstr("operator")));
    figures.calls = 400;
    figures.callsPerSecond = 199.96;
    const std::string text = zr_desk_report(figures);
    EXPECT_THAT(text, HasSubstr("periods                     500            500\n"));
    EXPECT_THAT(text, HasSubstr("lost                          3              0\n"));
    EXPECT_THAT(text, HasSubstr("wrong samples                 0             77\n"));
    EXPECT_THAT(text, HasSubstr("latency median          1.23 ms        0.00 ms\n"));
    EXPECT_THAT(text, HasSubstr("\nthe operator called 400 times, 200.0 a second\nthe service ended early\n"));
}
