#include "sim/Outcome.h"

namespace Strata::Sim {

std::string outcomeText( SdkCode code, bool injected )
{
   if( code == SdkCode::None )
      return {};
   return " -> " + sdkCodeName( static_cast<int>( code ) ) + ( injected ? " (injected)" : "" );
}

std::vector<RecordField> outcomeFields( SdkCode code, bool injected )
{
   std::vector<RecordField> fields{ { "rc", sdkCodeName( static_cast<int>( code ) ) } };
   if( injected )
      fields.emplace_back( "injected", true );
   return fields;
}

} // namespace Strata::Sim
