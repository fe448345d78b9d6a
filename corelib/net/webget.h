#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "corelib/base/stringarray.h"
#include "corelib/net/baseio.h"

class TCPIPIO;

/// Time-outs in ms and bounds in bytes of the HTTP client. Tests shrink them.
struct WEBTIMES {
    int AnswerMs = 45000;              // for the status line, and again for all that follows it
    int ReadMs = 250;                  // one look at the device
    int64_t ResponseBytes = 64 << 20;  // a response that passes this is cut off as if the callback had cancelled it
    int64_t DecodedBytes = 64 << 20;   // the most that a compressed body becomes; what is above it is left out
};
extern const WEBTIMES& WebTimes;

/// A small HTTP/1.0 client (RFC 1945) for reading web pages: one document per call, as a whole, status line and headers
/// included. It answers a 407 and a 401 once each with Basic authentication (RFC 7617) and decodes gzip. Redirects and
/// cookies are its caller's affair. Every result text starts with a line whose word 1 is a number, the server's status
/// or one of the client's own:
///   "TCPIO " LastError " " LastErrorString   no connection
///   "WEBGET 999 Read Timeout"                no status line
///   "TCPIO 999 Timeout"                      in front of what had come when the time was up
///   "TCPIO 4108 Connection cut off"          in front of what had come over TLS when its end did not
///   "TCPIO 998 Canceled"                     in front of what had come when the callback cancelled, or the program
///                                            is to end
class WEBGET {
 public:
    enum KIND {
        EXPECTED = 1,  // value: the Content-Length
        RECEIVED = 2,  // value: bytes of body so far; each 1024 bytes, or each twentieth part of a known length
        CANCEL = 3     // value 0; a result other than 0 cancels the transfer
    };
    /// Gets the argument of the constructor; the result counts for CANCEL only.
    using CALLBACK = int (*)(void* argument, int kind, int value);

    WEBGET(CALLBACK callback, void* argument) : Callback(callback), Argument(argument) {}

    /// A request ends as soon as the answer is yes, whatever it waits for.
    void SetStopQuestion(STOPQUESTION stopAsked) { StopAsked = std::move(stopAsked); }
    /// proxy: host or host:port (8080 without one), with a credential and "@" in front where it has one; otherwise the
    /// environment variable VELMORAPROXYAUTH may hold that. Empty or not enabled: none.
    void SetProxy(bool enabled, const STRING& proxy);
    /// A header line for the next request only.
    void AddLine(const STRING& line) { NextLines.push_back(line); }

    /// Fetches a document; the number in the first line of `result` comes back, 999 without one. host: a name or
    /// address, with ":port" or " port" after it (80 without one) and a credential and "@" in front, which later
    /// requests to that host remember. With "https://" in front of all the conversation is over TLS (port 443 without
    /// one), through a proxy by CONNECT, and never in clear. Null counts as empty.
    int Get(const char* host, const char* doc, STRING& result);
    /// The same with a form's body, which is sent as it is, a line end after it.
    int Post(const char* host, const char* doc, STRING& result, const STRING& body);

    /// Makes a raw response readable: decodes gzip, and turns CR LF into "\n" in all but pictures. A compressed body
    /// whose length is not the Content-Length becomes "<incomplete gzip data length have/told>".
    static void Beautify(STRING& result);

    /// Appends to `result`, which is not null, what a device that is online gives until the document is over. Time,
    /// bound and callback put a line in front of it.
    void ReadData(BASEIO& device, STRING& result);

 private:
    int Fetch(const char* host, const char* doc, STRING& result);
    /// Goes over to TLS, after the proxy, if there is one, has made the connection. False with what went wrong as the
    /// result: a refusal of the proxy as it came.
    bool Secure(TCPIPIO& device, const STRING& host, const STRING& proxyAnswer, STRING& result);
    /// The trace shows neither the query nor what the caller has added nor how it answers for itself.
    void SendRequest(BASEIO& device, const STRING& doc, const STRING& hostLine, const STRING& proxyAnswer,
                     const STRING& hostAnswer) const;
    bool IsStopped() const { return StopAsked && StopAsked(); }
    bool Cancelled() { return IsStopped() || (Callback && Callback(Argument, CANCEL, 0) != 0); }
    void Report(KIND kind, int64_t value);

    STRING Method = "GET";
    STRING Proxy = "";
    STRING ProxyAuthorization = "";
    std::vector<STRING> NextLines;
    CALLBACK Callback;
    void* Argument;
    STOPQUESTION StopAsked;
};

/// What hosts want to see of the user, "name:password" by host, for as long as the program runs.
STRINGARRAY& HostCredentials();
