#pragma once

struct TCPTIMES;
struct DNSTIMES;
struct WEBTIMES;
struct POPTIMES;
struct IMAPTIMES;
struct MAPITIMES;

/// What the program reads as constants of the same names, deep down in its conversations. Only tests see this: they
/// shrink the times and bounds, and put them back.
namespace SHRINKABLE {
extern TCPTIMES TcpTimes;
extern DNSTIMES DnsTimes;
extern WEBTIMES WebTimes;
extern POPTIMES PopTimes;
extern IMAPTIMES ImapTimes;
extern MAPITIMES MapiTimes;
extern int ScrollLockSettleMs;
}  // namespace SHRINKABLE
