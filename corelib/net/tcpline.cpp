#include "corelib/net/tcpline.h"

#include <algorithm>
#include <cstring>

#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"

bool TCP::WriteCommand(BASEIO& device, const char* command, char* reply, int replySize, int timeoutMs, bool* whole) {
    STRING line = command;
    line.Append("\r\n");
    Trace("TCP::WriteCommand before %s\n", FailOnNull(command, "WriteCommand"));
    device.Write(line.Text(), -1);
    if (!reply || timeoutMs == 0)
        return true;
    bool ok = ReadLine(device, reply, replySize, timeoutMs, whole);
    Trace("TCP::WriteCommand %s returned %s\n", FailOnNull(command, "WriteCommand"), reply);
    return ok;
}

void TCP::WriteSecret(BASEIO& device, const char* command, std::string_view secret) {
    STRING line = Secret(command);
    line.AppendBytes(secret);
    line.Append("\r\n");
    Trace("TCP::WriteCommand before %s...\n", command);
    device.Write(line.Text(), line.Length());
}

STRING TCP::WithoutSecrets(STRING said, const std::vector<STRING>& secrets) {
    constexpr int LEAST = 4;
    for (const STRING& secret : secrets)
        if (secret.Length() >= LEAST)
            said.Replace(secret.Text(), "***");
    return said;
}

bool TCP::ReadLine(BASEIO& device, char* buffer, int size, int timeoutMs, bool* whole) {
    memset(buffer, 0, static_cast<size_t>(size));
    int count = size - 1;
    if (whole)
        *whole = false;
    if (!device.Read(buffer, &count, timeoutMs, "\n"))
        return false;
    char* end = buffer + count;
    if (end[-1] == '\n') {
        --end;
        if (whole)
            *whole = true;
    }
    *std::remove(buffer, end, '\r') = '\0';
    return true;
}
