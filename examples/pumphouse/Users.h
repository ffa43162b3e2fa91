// The user file: one user a line, "name password seconds". A host for real use would keep password
// hashes instead.
#ifndef PUMPHOUSE_USERS_H_
#define PUMPHOUSE_USERS_H_

#include <string>
#include <vector>

struct User {
  std::string name;
  std::string password;
  int sessionSeconds = 0;
};

class Users {
 public:
  // False when the file cannot be read. Lines that begin with '#' are comments.
  bool Load(const std::string& path);

  // The user with this name and password, or null. Valid until the next Load().
  const User* Check(const std::string& name, const std::string& password) const;

 private:
  std::vector<User> mUsers;
};

#endif  // PUMPHOUSE_USERS_H_
