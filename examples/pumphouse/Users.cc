#include "Users.h"

#include <fstream>
#include <sstream>
#include <utility>

bool Users::Load(const std::string& path) {
  std::ifstream file(path);
  if (!file) return false;
  mUsers.clear();
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    User user;
    if (words >> user.name >> user.password >> user.sessionSeconds && user.name[0] != '#') {
      mUsers.push_back(std::move(user));
    }
  }
  return true;
}

const User* Users::Check(const std::string& name, const std::string& password) const {
  for (const User& user : mUsers) {
    if (user.name == name && user.password == password) return &user;
  }
  return nullptr;
}
