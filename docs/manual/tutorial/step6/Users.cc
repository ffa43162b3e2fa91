#include "Users.h"

#include <algorithm>
#include <iterator>

#include "App.h"

namespace {

constexpr User kUsers[] = {
    {"tanaka", "fill", true},
    {"suzuki", "cork", true},
    {"guest", "look", false},
};

}  // namespace

const User* FindUser(const KZString& name, const KZString& pass) {
  const auto* found = std::find_if(std::begin(kUsers), std::end(kUsers), [&](const User& user) {
    return name == user.name && pass == user.pass;
  });
  return found == std::end(kUsers) ? nullptr : found;
}

UserSession* FindSession(const KZString& sessionId) {
  return dynamic_cast<UserSession*>(app.SessionList()->Search(sessionId));
}
