// The line to the supervisor (virtual_usb.py), and the system headers in the order that they need.
#pragma once

// clang-format off
#include <winsock2.h>
#include <windows.h>
#include <winternl.h>
// clang-format on

#include <cstdlib>
#include <string>

// Connects to the port that the environment names. INVALID_SOCKET where nobody listens.
inline SOCKET ConnectToSupervisor() {
  WSADATA data;
  WSAStartup(MAKEWORD(2, 2), &data);
  char port[16] = "";
  GetEnvironmentVariableA("ROTATE_RIG_PORT", port, sizeof port);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<u_short>(atoi(port)));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const SOCKET line = socket(AF_INET, SOCK_STREAM, 0);
  const bool connected = connect(line, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  return connected ? line : INVALID_SOCKET;
}

// Sends one line and gives the answer without its line end. Empty: the supervisor is gone.
inline std::string AskSupervisor(SOCKET line, const std::string& question) {
  const std::string sent = question + "\n";
  std::string answer;
  char next = 0;
  if (send(line, sent.data(), static_cast<int>(sent.size()), 0) < 0) return "";
  while (recv(line, &next, 1, 0) == 1 && next != '\n') answer += next;
  return next == '\n' ? answer : "";
}
