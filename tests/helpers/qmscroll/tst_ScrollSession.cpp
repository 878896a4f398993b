// The session against simulated views.

#include "tests/helpers/qmscroll/ScrollSimulation.h"

#include <QTest>

#include <algorithm>

using namespace qm;
using namespace qm::simulated;

namespace {

Event wheel(Milliseconds at, double pixels)
{
    return {at, [pixels](ScrollSession &, Simulation &simulation) { simulation.move(pixels); }};
}
Event point(Milliseconds at, Pointer pointer)
{
    return {at, [pointer](ScrollSession &, Simulation &simulation) { simulation.pointer = pointer; }};
}
Event hold(Milliseconds at, bool held)
{
    return {at, [held](ScrollSession &, Simulation &simulation) { simulation.held = held; }};
}
Event wish(Milliseconds at, void (ScrollSession::*what)())
{
    return {at, [what](ScrollSession &session, Simulation &) { (session.*what)(); }};
}

} // namespace

Q_DECLARE_METATYPE(Case)

class tst_ScrollSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ends_data()
    {
        QTest::addColumn<Case>("of");
        const auto row = [](const char *name, const Case &of) { QTest::newRow(name) << of; };
        row("plain", {.milliseconds = 3450});
        row("nothing to scroll", {.view = {.page = region}, .milliseconds = 8200, .notice = Notice::wheelDoesNothing});
        row("the user scrolls too far where the wheel does nothing",
            {.view = {.isDeaf = true},
             .events = {wheel(4000ms, 2000), wish(9000ms, &ScrollSession::finish)},
             .end = End::lost,
             .furthest = 0,
             .milliseconds = 9100,
             .notice = Notice::placeLost});
        row("less than a click to scroll", {.view = {.page = region + 20}, .milliseconds = 2600});
        row("smooth", {.view = {.pixelsPerClick = 120, .smooth = 200ms}, .milliseconds = 8000});
        row("more slowly", {.view = {.smooth = 400ms}, .milliseconds = 11'000});
        row("smooth, on a slow machine",
            {.view = {.pixelsPerClick = 120, .smooth = 200ms, .picture = 30ms}, .milliseconds = 8000});
        row("smooth, with a pause on its way",
            {.view = {.pixelsPerClick = 120, .smooth = 200ms, .pausesAt = 2000}, .milliseconds = 8000});
        row("and on its way back",
            {.view = {.smooth = 200ms, .blankFrom = 2000, .pausesAt = 1500}, .milliseconds = 20'500});
        row("stalls once", {.view = {.stallsAt = 2000}, .milliseconds = 4200});
        row("hangs for a while", {.view = {.stallsAt = 2000, .stall = 5000ms}, .milliseconds = 8500});
        row("hangs while it goes on painting a caret",
            {.view = {.animation = 500ms, .stallsAt = 2000, .stall = 5000ms}, .milliseconds = 9500});
        row("hangs beside a movie", {.view = {.pixelsPerClick = 90,
                                              .page = 5817,
                                              .answer = 16ms,
                                              .animation = 83ms,
                                              .stallsAt = 3000,
                                              .stall = 2900ms},
                                     .milliseconds = 9000});
        row("hangs at its end", {.view = {.stallsAt = 5400, .stall = 3000ms}, .milliseconds = 8500});
        row("hangs for good beside a caret", {.view = {.animation = 500ms, .stallsAt = 2000, .stall = 100'000ms},
                                              .end = End::unanswered,
                                              .furthest = somewhere,
                                              .milliseconds = 13'000});
        row("is done while it hangs", {.view = {.stallsAt = 2000, .stall = 100'000ms},
                                       .events = {wish(3500ms, &ScrollSession::finish)},
                                       .end = End::wish,
                                       .furthest = somewhere,
                                       .milliseconds = 4200});
        row("hangs for good", {.view = {.stallsAt = 2000, .stall = 100'000ms},
                               .end = End::unanswered,
                               .furthest = somewhere,
                               .milliseconds = 13'000});
        row("slow to answer", {.view = {.answer = 300ms}, .milliseconds = 12'000});
        row("hardly moves", {.view = {.pixelsPerClick = 2}, .milliseconds = 3600});
        row("hardly moves, and the wheel takes its time",
            {.view = {.pixelsPerClick = 2, .page = 2000, .answer = 30ms, .turning = 4ms}, .milliseconds = 15'000});
        row("one click is most of the region", {.view = {.pixelsPerClick = 470}, .milliseconds = 3200});
        row("a caret", {.view = {.animation = 500ms}, .milliseconds = 3550});
        for (const auto interval : {120ms, 400ms, 1000ms})
            row(qPrintable(QStringLiteral("something wide that changes every %1 ms").arg(interval / 1ms)),
                {.view = {.animation = interval, .isWide = true}, .milliseconds = 6500});
        row("slow, with a caret", {.view = {.answer = 400ms, .animation = 410ms}, .milliseconds = 31'000});
        row("a scroll bar that goes on fading", {.view = {.animation = 5ms, .isAside = true}, .milliseconds = 7200});
        row("is painted slowly", {.view = {.painting = 200ms}, .milliseconds = 12'000});
        row("slow, with a movie", {.view = {.answer = 250ms, .animation = 90ms}, .milliseconds = 12'000});
        row("alike for a while: smaller steps", {.view = {.blankFrom = 2000}, .milliseconds = 5500});
        row("one click is too much, but shows its way",
            {.view = {.pixelsPerClick = 500, .smooth = 200ms, .picture = 16ms}, .milliseconds = 6500});
        row("a list that loads more at its end",
            {.view = {.page = 1500, .loads = 5}, .furthest = 1500 + 5 * 900 - region, .milliseconds = 7500});
        row("a list that loads more slowly", {.view = {.page = 1500, .loads = 2, .loading = 1000ms},
                                              .furthest = 1500 + 2 * 900 - region,
                                              .milliseconds = 9500});
        row("a list that loads more while it looks back",
            {.view = {.answer = 60ms, .loads = 1, .loading = 2000ms}, .furthest = 6900 - region, .milliseconds = 9500});
        row("and only a little", {.view = {.answer = 60ms, .loads = 1, .more = 100, .loading = 2000ms},
                                  .furthest = 6100 - region,
                                  .milliseconds = 9500});
        row("and only smaller steps tell how it goes on",
            {.view = {.answer = 60ms, .blankFrom = 6000, .loads = 1, .loading = 2000ms},
             .furthest = 6900 - region,
             .milliseconds = 12'000});
        for (const auto answer : {2ms, 30ms, 150ms})
            row(qPrintable(QStringLiteral("loads without a sign, and answers after %1 ms").arg(answer / 1ms)),
                {.view = {.answer = answer, .smooth = 200ms, .loads = 1, .loading = 1950ms, .isSilent = true},
                 .furthest = 6900 - region,
                 .milliseconds = 16'000});
        row("shows early that it loads", {.view = {.answer = 30ms, .loads = 1, .loading = 3500ms, .sign = 1700ms},
                                          .furthest = 6900 - region,
                                          .milliseconds = 12'000});
        row("loads only while its end is in view",
            {.view = {.answer = 60ms, .loads = 1, .loading = 800ms, .isSilent = true, .isImpatient = true},
             .furthest = 6900 - region,
             .milliseconds = 8000});
        row("loads while the pointer is elsewhere",
            {.view = {.answer = 30ms, .loads = 1, .loading = 2500ms, .isSilent = true},
             .events = {point(3000ms, Pointer::away), point(7000ms, Pointer::inside)},
             .furthest = 6900 - region,
             .milliseconds = 12'000,
             .notice = Notice::pointerAway});
        // What has grown is seen by where clicks lead, and not by anything in view.
        const auto grows = [&](const char *name, View view, int page = 6300, const std::vector<Event> &events = {}) {
            view.growsAt = view.growsAt > 0 ? view.growsAt : 1500;
            row(name, {.view = view,
                       .events = events,
                       .furthest = page - region,
                       .milliseconds = 12'000,
                       .notice = events.empty() ? Notice::none : Notice::pointerAway});
        };
        grows("grows out of view: once more from the beginning", {});
        grows("and many clicks are answered late", {.answerToMany = 400ms});
        grows("or later than most are",
              {.pixelsPerClick = 90,
               .page = 3910,
               .answer = 16ms,
               .smooth = 62ms,
               .picture = 16ms,
               .growsAt = 1035,
               .answerToMany = 209ms},
              4210);
        grows("and something blinks", {.animation = 150ms, .growsAt = 2400});
        grows("and something blinks, and clicks are lost",
              {.page = 4557, .answer = 16ms, .animation = 207ms, .growsAt = 1041, .losesIn = 3, .answerToMany = 303ms},
              4857);
        grows("and it hangs on the way", {.stallsAt = 1500, .stall = 2500ms, .growsAt = 2500});
        grows("and a click is lost on the way", {.pixelsPerClick = 20, .losesAt = 3000});
        grows("and it loads more at its end",
              {.pixelsPerClick = 20, .page = 2600, .growsAt = 950, .loads = 4, .more = 650}, 5500);
        grows("and the pointer is elsewhere while it looks back", {.answer = 60ms, .growsAt = 2400}, 6300,
              {point(2800ms, Pointer::away), point(3200ms, Pointer::inside)});
        row("many clicks are answered late", {.view = {.answerToMany = 500ms}, .milliseconds = 6500});
        row("the same beside a scroll bar that fades where nothing moves",
            {.view = {.painting = 400ms, .isAside = true, .growsAt = 1500},
             .furthest = 6300 - region,
             .milliseconds = 16'000});
        row("fills out of view, and there was trouble elsewhere",
            {.view = {.blankFrom = 1000, .fillsAt = 3750, .sticks = true}, .furthest = 0, .milliseconds = 8000});
        row("loses clicks at the first look back", {.view = {.losesIn = 1}, .milliseconds = 3600});
        row("and at the last", {.view = {.losesIn = 4}, .milliseconds = 3600});
        row("and on the way forth", {.view = {.losesIn = 5}, .milliseconds = 3600});
        row("and does not move any more",
            {.view = {.growsAt = 1500, .sticks = true}, .furthest = 0, .milliseconds = 5500});
        row("nor before Escape", {.view = {.growsAt = 1500, .sticks = true},
                                  .events = {wish(3000ms, &ScrollSession::finishOrCancel)},
                                  .end = End::wish,
                                  .furthest = 0,
                                  .milliseconds = 4700});
        row("springs back",
            {.view = {.springsBack = true}, .end = End::changed, .furthest = somewhere, .milliseconds = 9000});
        row("the height limit",
            {.view = {.page = 100'000}, .end = End::height, .furthest = somewhere, .milliseconds = 2500});
        row("alike at every step", {.view = {.pixelsPerClick = 90, .blankFrom = 2000},
                                    .end = End::ambiguous,
                                    .furthest = somewhere,
                                    .milliseconds = 6200});
        row("alike at every step, which is half of the region", {.view = {.pixelsPerClick = 300, .blankFrom = 2000},
                                                                 .end = End::ambiguous,
                                                                 .furthest = somewhere,
                                                                 .milliseconds = 6500});
        row("nothing is painted for a while: once more",
            {.view = {.pixelsPerClick = 90, .blankFrom = 2000, .isPaintedLate = true}, .milliseconds = 11'200});
        row("one click is too much",
            {.view = {.pixelsPerClick = 500}, .end = End::lost, .furthest = 0, .milliseconds = 1900});
        row("changes under way",
            {.view = {.changesAt = 3000}, .end = End::lost, .furthest = somewhere, .milliseconds = 4500});
        row("changes before it moves: once more", {.view = {.changesAt = 1, .settles = true}, .milliseconds = 7100});
        row("goes away", {.view = {.changesAt = 3000, .goesAway = true},
                          .end = End::lost,
                          .furthest = somewhere,
                          .milliseconds = 2000});

        // What the user scrolls meanwhile is joined.
        const auto pause = [&](const char *name, const Event &begin, const Event &end, Notice notice) {
            row(name, {.events = {begin, wheel(1200ms, 100), end}, .milliseconds = 5300, .notice = notice});
        };
        const Event back = point(2000ms, Pointer::inside);
        pause("the pointer is elsewhere", point(400ms, Pointer::away), back, Notice::pointerAway);
        pause("the pointer is over the panel", point(400ms, Pointer::overPanel), back, Notice::pointerOverPanel);
        pause("a key is held", hold(400ms, true), hold(2000ms, false), Notice::keyHeld);

        row("the pointer is elsewhere while it goes back to the beginning",
            {.view = {.answer = 60ms, .growsAt = 1500},
             .events = {point(4130ms, Pointer::away), point(4630ms, Pointer::inside)},
             .furthest = 6300 - region,
             .milliseconds = 9500,
             .notice = Notice::pointerAway});

        const auto wished = [&](const char *name, const View &view, const std::vector<Event> &events, End end,
                                int furthest = somewhere, Mode mode = Mode::automatic) {
            row(name, {view, events, mode, end, furthest, 1650});
        };
        const View slow{.answer = 100ms, .smooth = 200ms};
        wished("done", slow, {wish(1000ms, &ScrollSession::finish)}, End::wish);
        wished("done before the first frame", slow, {wish(5ms, &ScrollSession::finish)}, End::wish, 0);
        wished("done with a movie", {.animation = 5ms}, {wish(1000ms, &ScrollSession::finish)}, End::wish);
        wished("done by hand", slow, {wish(1000ms, &ScrollSession::finish)}, End::wish, 0, Mode::manual);
        wished("Escape in the first step", slow, {wish(420ms, &ScrollSession::finishOrCancel)}, End::wish);
        wished("Escape with nothing to scroll", {.page = region}, {wish(700ms, &ScrollSession::finishOrCancel)},
               End::cancelled, 0);
        wished("Escape before the first frame", slow, {wish(5ms, &ScrollSession::finishOrCancel)}, End::cancelled,
               nowhere);
        wished("cancelled", slow, {wish(1000ms, &ScrollSession::cancel)}, End::cancelled);
        row("done while it pauses", {.view = slow,
                                     .events = {point(800ms, Pointer::away), wish(1000ms, &ScrollSession::finish)},
                                     .end = End::wish,
                                     .furthest = somewhere,
                                     .milliseconds = 1650,
                                     .notice = Notice::pointerAway});
        row("the user scrolls too far, and back",
            {.view = {.page = 3000, .smooth = 300ms},
             .events = {wheel(1000ms, 200), wheel(2000ms, 1500), wheel(3000ms, -1300), wheel(4000ms, 400),
                        wish(5000ms, &ScrollSession::finish)},
             .mode = Mode::manual,
             .end = End::wish,
             .furthest = 800,
             .milliseconds = 5700,
             .notice = Notice::placeLost});
    }

    void ends()
    {
        QFETCH(Case, of);
        const Simulation simulation(of);
        QCOMPARE(simulation.end, of.end);
        if (of.furthest != somewhere)
            QCOMPARE(simulation.furthest, of.furthest == allOfIt ? of.view.page - region : of.furthest);
        if (of.end == End::height)
            QVERIFY(region + simulation.furthest >= heightLimit && simulation.furthest < heightLimit);
        if (of.view.animation == 0ms && of.view.picture != 16ms)
            QVERIFY(!simulation.moving); // what was under way came in
        QVERIFY2(simulation.now <= Milliseconds(of.milliseconds),
                 QByteArray::number(qint64(simulation.now / 1ms)).constData());
        QCOMPARE(simulation.notice, of.notice);
        QVERIFY(simulation.isPatient);
        QVERIFY(!simulation.stale);
    }

    void stepsFollowTheView()
    {
        for (const double pixelsPerClick : {4.0, 57.0, 120.0, 200.0}) {
            const std::vector<int> joins = Simulation({.view = {.pixelsPerClick = pixelsPerClick}}).joins;
            int largest = 0;
            for (size_t i = 1; i < joins.size(); ++i)
                largest = std::max(largest, joins[i] - joins[i - 1]);
            QVERIFY2(largest < region * 3 / 4 && largest > region / 2, QByteArray::number(largest).constData());
        }
    }

    // Where it cannot be begun again, it is said.
    void whatGrowsOutOfViewIsSaid()
    {
        const Simulation simulation({.view = {.growsAt = 1500, .beginsLow = true}});
        QCOMPARE(simulation.end, End::content);
        QCOMPARE(simulation.furthest, 6000 - region);
        QVERIFY(simulation.stale);
    }

    // Both show further down what was expected, but only one of them does so from elsewhere, too.
    void lostClicksAreNoGrowth()
    {
        LookBack looks;
        looks.measure(1, 100);
        looks.measure(3, 300);
        QVERIFY(looks.begin(10'000, region));
        const int clicks = looks.nextClicks();
        QCOMPARE(looks.expected(), 7500);
        QCOMPARE(looks.clicksToVerify(7700), clicks);
        QVERIFY(looks.agrees(10'000));
        QCOMPARE(looks.nextClicks(), clicks);
        QVERIFY(looks.agrees(7500) && !looks.agrees(7700));
        QCOMPARE(looks.clicksToVerify(7700), 0);

        QVERIFY(looks.begin(10'000, region));
        looks.nextClicks();
        looks.nextClicks();
        QCOMPARE(looks.clicksToVerify(5200), clicks);
        QVERIFY(looks.agrees(7700) && !looks.agrees(7500));
    }

    // What still covers the view is waited for, but not for ever.
    void leftoversAreWaitedFor()
    {
        for (const bool isPainted : {true, false}) {
            ScrollSession session({.mode = Mode::automatic, .regionHeight = region, .heightLimit = heightLimit});
            Milliseconds now = 0ms;
            for (Order order; order.kind == Order::Kind::look; now += order.wait)
                order = session.look(now, {.fresh = true, .covered = !isPainted || now < 3s});
            QVERIFY(isPainted ? now >= 3s && now < 3100ms : now >= 5s && now < 5100ms);
        }
    }

    // A look that is disturbed tells nothing, but only that one.
    void theCountIsLostForOneLookBack()
    {
        LookBack looks;
        looks.measure(1, 100);
        looks.measure(3, 300);
        for (const bool isLost : {true, false}) {
            QVERIFY(looks.begin(10'000, region));
            looks.nextClicks();
            if (isLost)
                looks.loseCount();
            QCOMPARE(looks.agrees(7700), isLost);
        }
    }

    // Where all goes as expected, the wheel is turned before a frame is joined. What has been turned too much is taken back.
    void theWheelIsTurnedAhead_data()
    {
        QTest::addColumn<QList<Step>>("steps");
        QTest::addColumn<QList<int>>("clicks");
        QTest::newRow("as expected") << QList{Step::joined} << QList{0};
        QTest::newRow("nothing fits: smaller steps") << QList{Step::lost, Step::still} << QList{-12, 3};
        QTest::newRow("something has changed: the same step, and from further up if it was seen there, too")
            << QList{Step::doubtful, Step::doubtful, Step::doubtful} << QList{-12, -6, -6};
        QTest::newRow("it has not moved, but for something else") << QList{Step::renewed, Step::still} << QList{-12, 6};
        QTest::newRow("it has not moved") << QList{Step::still, Step::still} << QList{-12, 6};
    }

    void theWheelIsTurnedAhead()
    {
        QFETCH(QList<Step>, steps);
        QFETCH(QList<int>, clicks);
        EvenView view;
        for (int i = 0; i < steps.size(); ++i) {
            QCOMPARE(view.joined(steps[i]).clicks, clicks[i]);
            QCOMPARE(view.next().clicks, steps[i] == Step::joined ? 6 : 0); // until steps are even again
        }
    }

    // The user may decide while the wheel is turned.
    void whatIsWishedMeanwhile()
    {
        EvenView done;
        done.session.finish();
        done.joined(Step::joined);
        QCOMPARE(done.session.end(), End::open); // what has been turned is on the screen
        QCOMPARE(done.next().kind, Order::Kind::join);
        done.joined(Step::joined);
        QCOMPARE(done.session.end(), End::wish);

        EvenView cancelled(4000);
        cancelled.height = 4000;
        cancelled.session.cancel();
        cancelled.joined(Step::joined);
        QCOMPARE(cancelled.session.end(), End::cancelled);
    }

    // A step of several clicks is taken back as it was made, and made smaller.
    void whatWasLostIsLookedForAgain()
    {
        ScrollSession session({.mode = Mode::automatic, .regionHeight = region, .heightLimit = 30'000});
        Milliseconds now{0};
        int height = region;
        bool isMovie = false;
        // The view answers at once: the next look that asks for more than another look has a new frame to join.
        const auto clicksAfter = [&](Step step, int shift) {
            for (bool changed = true;; changed = isMovie) {
                const Order order = session.look(now, {.changed = changed, .fresh = true});
                if (order.kind != Order::Kind::look)
                    return session.joined(now, {step, shift, height += shift, region, step == Step::renewed}).clicks;
                now += order.wait;
            }
        };
        QCOMPARE(clicksAfter(Step::first, 0), 1);
        QCOMPARE(clicksAfter(Step::joined, 50), 3);
        QCOMPARE(clicksAfter(Step::joined, 150), 7);
        QCOMPARE(clicksAfter(Step::lost, 0), -7);
        QCOMPARE(clicksAfter(Step::still, 0), 3);
        QCOMPARE(clicksAfter(Step::ambiguous, 0), -3);
        QCOMPARE(clicksAfter(Step::still, 0), 1);
        // What was too much is tried again when smaller steps have gone well for a while.
        int good = 1;
        while (good < 20 && clicksAfter(Step::joined, 50) == 1)
            ++good;
        QVERIFY2(good > 3 && good < 10, QByteArray::number(good).constData());
        // Where something has changed, the same step is made again; what has left the region may have changed as well.
        clicksAfter(Step::joined, region);
        const int back = clicksAfter(Step::doubtful, 0);
        QVERIFY(back < 0 && !session.mayBeStale());
        QCOMPARE(clicksAfter(Step::renewed, 0), -back);
        QVERIFY(session.mayBeStale());
        // It is waited for from then on, unless what was doubted turns out to be as it was.
        using Activity = ScrollSession::Activity;
        for (const auto &[trouble, activity] :
             {std::pair(Step::lost, Activity::waiting), {Step::doubtful, Activity::scrolling}}) {
            clicksAfter(Step::joined, region);
            clicksAfter(Step::doubtful, 0);
            clicksAfter(trouble, 0);
            clicksAfter(Step::still, 0);
            QCOMPARE(session.activity(), activity);
        }
        // Nor is a movie, which never comes to rest.
        clicksAfter(Step::joined, region);
        clicksAfter(Step::doubtful, 0);
        isMovie = true;
        clicksAfter(Step::renewed, 0);
        QCOMPARE(session.activity(), Activity::scrolling);
        QCOMPARE(session.end(), End::open);
    }
};

QTEST_APPLESS_MAIN(tst_ScrollSession)
#include "tst_ScrollSession.moc"
