// SPDX-License-Identifier: BSD-2-Clause
// What tells the frame loops from each other: one literal record per loop.
#pragma once

#include <cstdint>

namespace tvk {

enum class TypeLimit { frameTypes, speedLevel, none };
enum class FrameChoice { byType, bySpeed, forTarget };
enum class FrameTime { none, fromStamps, fromChangedClock };
enum class Delivery { byStamp, byClock };
// When the clock moves on by a frame although none was delivered.
enum class ClockWithoutDelivery { stands, runs, runsBehindDecodedPictures };
enum class IndexFeed { none, plain, edit };

struct LoopPolicy {
    TypeLimit typeLimit;  // the highest picture type decoded, fixed at loop entry
    FrameChoice choice;
    FrameTime frameTime;
    Delivery delivery;
    ClockWithoutDelivery clock;
    IndexFeed indexFeed;
    bool codedOrder;           // a frame goes out when its own decoding ends
    bool scanReturnsNeedData;  // false: the scan for a start code waits in place
    bool resynchronises;       // looks at resyncOnce
};

inline constexpr LoopPolicy kForward = {
    .typeLimit = TypeLimit::frameTypes,
    .choice = FrameChoice::byType,
    .frameTime = FrameTime::fromStamps,
    .delivery = Delivery::byStamp,
    .clock = ClockWithoutDelivery::stands,
    .indexFeed = IndexFeed::plain,
    .codedOrder = false,
    .scanReturnsNeedData = true,
    .resynchronises = true,
};

inline constexpr LoopPolicy kStreamOrder = {
    .typeLimit = TypeLimit::frameTypes,
    .choice = FrameChoice::byType,
    .frameTime = FrameTime::none,
    .delivery = Delivery::byClock,
    .clock = ClockWithoutDelivery::runs,
    .indexFeed = IndexFeed::plain,
    .codedOrder = true,
    .scanReturnsNeedData = false,
    .resynchronises = true,
};

inline constexpr LoopPolicy kAdjustableSpeed = {
    .typeLimit = TypeLimit::speedLevel,
    .choice = FrameChoice::bySpeed,
    .frameTime = FrameTime::none,
    .delivery = Delivery::byClock,
    .clock = ClockWithoutDelivery::runs,
    .indexFeed = IndexFeed::none,
    .codedOrder = false,
    .scanReturnsNeedData = false,
    .resynchronises = true,
};

inline constexpr LoopPolicy kEdit = {
    .typeLimit = TypeLimit::frameTypes,
    .choice = FrameChoice::byType,
    .frameTime = FrameTime::fromChangedClock,
    .delivery = Delivery::byStamp,
    .clock = ClockWithoutDelivery::stands,
    .indexFeed = IndexFeed::edit,
    .codedOrder = false,
    .scanReturnsNeedData = true,
    .resynchronises = true,
};

inline constexpr LoopPolicy kRollForward = {
    .typeLimit = TypeLimit::none,
    .choice = FrameChoice::forTarget,
    .frameTime = FrameTime::none,
    .delivery = Delivery::byClock,
    .clock = ClockWithoutDelivery::runsBehindDecodedPictures,
    .indexFeed = IndexFeed::none,
    .codedOrder = false,
    .scanReturnsNeedData = false,
    .resynchronises = false,
};

inline constexpr LoopPolicy kRollForwardEdit = {
    .typeLimit = TypeLimit::none,
    .choice = FrameChoice::forTarget,
    .frameTime = FrameTime::fromStamps,
    .delivery = Delivery::byStamp,
    .clock = ClockWithoutDelivery::stands,
    .indexFeed = IndexFeed::none,
    .codedOrder = false,
    .scanReturnsNeedData = false,
    .resynchronises = false,
};

}  // namespace tvk
