// The mirror of a host's parameter table as properties of its shell. It builds nothing
// yet: the shell makes one at every connect and tells it to build, so the mirrored
// properties slot in here without a change to the shells.
#pragma once

class IQorFeature;
class IQorPropertyMap;

namespace features {

class Feature;

class ParameterMirror {
 public:
  ParameterMirror(::IQorFeature* host, Feature* shell) : host_(host), shell_(shell) {}
  ParameterMirror(const ParameterMirror&) = delete;
  ParameterMirror& operator=(const ParameterMirror&) = delete;
  // Takes the map the properties go into and the host's class name.
  void initialize(IQorPropertyMap* map, const char* hostClass) {
    map_ = map;
    hostClass_ = hostClass;
  }
  // Builds the mirrored properties: none yet.
  void build() {}
  ::IQorFeature* host() const { return host_; }
  Feature* shell() const { return shell_; }

 private:
  ::IQorFeature* host_;
  Feature* shell_;
  IQorPropertyMap* map_ = nullptr;
  const char* hostClass_ = nullptr;
};

}  // namespace features
