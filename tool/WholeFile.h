// A file that takes its name when it is complete, and is removed if it never is.
#pragma once

#include <fstream>
#include <string>

namespace Strata::Tool {

class WholeFile
{
 public:
   /// std::runtime_error if it cannot be written, as in finish().
   explicit WholeFile( const std::string& name );
   WholeFile( const WholeFile& ) = delete;
   WholeFile& operator=( const WholeFile& ) = delete;
   ~WholeFile();

   std::ostream& out() { return out_; }
   void finish();

 private:
   void check();
   [[noreturn]] void fail() const;

   const std::string name_;
   const std::string draft_;
   std::ofstream out_;
};

} // namespace Strata::Tool
