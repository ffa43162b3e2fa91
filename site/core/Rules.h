// The rules by which a site survives its faults. All of them hold, always; tests take one out to
// see that the simulation notices.
#ifndef SITE_CORE_RULES_H_
#define SITE_CORE_RULES_H_

namespace dorn::site {

struct Rules {
  // What names another token than the site's is dropped.
  bool fencing = true;
  // Of each origin only the item behind the last applied one counts: none twice.
  bool eachOnce = true;
  // ... and none before those that it follows.
  bool withoutHoles = true;
  // What has not come back is sent again, from the lowest.
  bool goBackN = true;
  // Nothing is called refused before a newer generation has come back.
  bool generation = true;
  // An end of a session that was used since its keeper asked for it ends nothing.
  bool endsTheIdleOnly = true;
};

}  // namespace dorn::site

#endif  // SITE_CORE_RULES_H_
