// The generic attribute interface: the declarations of a type of entity, and access by name or number.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Hash.h"
#include "platform/runtime/HashMap.h"
#include "platform/runtime/Publisher.h"
#include "platform/runtime/Value.h"

#include <bit>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Vormel {

enum class AttributeKind : U8
{
   Field,  // set by the constructor, publishes nothing
   Scalar, // one notifying value
   Array,  // notifying slots, one per enumerator of the key
   Map,    // notifying members by key
};
VORMEL_ENUM_NAMES( AttributeKind, { AttributeKind::Field, "field" },
   { AttributeKind::Scalar, "scalar" }, { AttributeKind::Array, "array" },
   { AttributeKind::Map, "map" } )

/// The declaration of an attribute.
struct AttributeInfo
{
   AttributeKind kind;
   AttributeNumber number; // 0 for fields
   std::string_view name;
   std::string_view type;
   std::string_view keyType; // empty unless array or map
   std::string_view defaultText;
   std::string_view meaning;    // with unit and range where they are not obvious
   std::string_view maintainer; // the part whose operations write it
   U32 seed = 0;                // of the hash map, for maps
};

struct Member
{
   Value key;
   Value value;
};

/// One attribute of a type. All errors are AccessError unless the attribute's own check throws.
class VORMEL_EXPORT Attribute
{
 public:
   explicit Attribute( const AttributeInfo& info ) : info_( info ) {}
   virtual ~Attribute();

   const AttributeInfo& info() const { return info_; }

   /// The kind of value that is expected: "true or false", "bridged or routed", "a number from 0 to 255".
   virtual std::string expected() const = 0;
   /// The texts of all values, where there are few; otherwise empty.
   virtual std::vector<std::string> choices() const = 0;
   /// Whether the values, or those of the members, are references to objects, which have no text.
   virtual bool holdsObject() const = 0;
   /// The value converted to the attribute's type, as by a write.
   virtual Value converted( const Value& value ) const = 0;
   /// The key converted likewise; an error for a field or scalar.
   virtual Value convertedKey( const Value& key ) const;

   /// Reads a field or scalar.
   virtual Value read( const Entity& entity ) const;
   /// Reads one slot or member; an absent member is an error.
   virtual Value read( const Entity& entity, const Value& key ) const;
   /// All slots, or all members in iteration order.
   virtual std::vector<Member> members( const Entity& entity ) const;
   virtual void write( Entity& entity, const Value& value ) const;
   virtual void write( Entity& entity, const Value& key, const Value& value ) const;
   /// Returns the removed value.
   virtual Value del( Entity& entity, const Value& key ) const;
   virtual void delAll( Entity& entity ) const;

 protected:
   [[noreturn]] void refuse( std::string_view wish ) const;

 private:
   AttributeInfo info_;
};

/// A parameter of an operation.
struct Parameter
{
   std::string name;
   std::string expected;             // the kind of value: "a number from 0 to 255"
   std::vector<std::string> choices; // the texts of all values, where there are few
};
/// "vlanId: a number from 0 to 65535"
VORMEL_EXPORT std::string toText( const Parameter& parameter );

/// One operation that can be called by name.
class VORMEL_EXPORT Operation
{
 public:
   Operation( std::string_view name, std::vector<Parameter> parameters, std::string_view summary )
      : name_( name ),
        parameters_( std::move( parameters ) ),
        summary_( summary )
   {}
   virtual ~Operation();

   std::string_view name() const { return name_; }
   const std::vector<Parameter>& parameters() const { return parameters_; }
   std::string_view summary() const { return summary_; }

   /// Calls the operation; the result is monostate if it returns nothing. AccessError for a wrong number of arguments,
   /// ArgumentError for one that cannot be converted; nothing has been called then.
   virtual Value call( Entity& entity, std::span<const Value> arguments ) const = 0;

 protected:
   void checkCount( std::size_t given ) const;
   [[noreturn]] void badArgument( std::size_t index, const Value& given ) const;

 private:
   std::string_view name_;
   std::vector<Parameter> parameters_;
   std::string_view summary_;
};

namespace Detail {

/// A member's name as the key of a map. Only its ends are hashed, because there the names of a type differ.
struct MemberName
{
   std::string_view text;

   friend bool operator==( const MemberName&, const MemberName& ) = default;
   friend U64 hashValue( const MemberName& name, U32 seed )
   {
      const std::string_view whole = name.text;
      U64 first = 0, last = 0;
      if( whole.size() < sizeof first )
         return Vormel::hashValue( whole, seed );
      std::memcpy( &first, whole.data(), sizeof first );
      std::memcpy( &last, whole.data() + whole.size() - sizeof last, sizeof last );
      return hashMix( ( first + whole.size() ) ^ std::rotl( last, 32 ), seed );
   }
};

} // namespace Detail

/// The attributes and operations of a type of entity, by name. Made once per type and never changed.
class VORMEL_EXPORT EntityType
{
 public:
   using Attributes = std::vector<std::unique_ptr<const Attribute>>;
   using Operations = std::vector<std::unique_ptr<const Operation>>;

   EntityType( std::string_view name, Attributes attributes, Operations operations = {} );

   std::string_view name() const { return name_; }
   const Attributes& attributes() const { return attributes_; }
   const Operations& operations() const { return operations_; }

   /// Null if nothing has that name or number.
   const Attribute* findAttribute( std::string_view name ) const;
   const Attribute* findAttribute( AttributeNumber number ) const;
   const Operation* findOperation( std::string_view name ) const;

   /// Raises AccessError, with the nearest name, if nothing has that name or number.
   const Attribute& attribute( std::string_view name ) const;
   const Attribute& attribute( AttributeNumber number ) const;
   const Operation& operation( std::string_view name ) const;

 private:
   std::string_view name_;
   Attributes attributes_;
   Operations operations_;
   HashMap<Detail::MemberName, const Attribute*> attributeByName_;
   HashMap<AttributeNumber, const Attribute*> attributeByNumber_; // without fields
   HashMap<Detail::MemberName, const Operation*> operationByName_;
};

/// The name in `names` that is most similar to `wrong`; empty if none is near.
VORMEL_EXPORT std::string_view nearestName(
   std::string_view wrong, std::span<const std::string_view> names );

} // namespace Vormel
