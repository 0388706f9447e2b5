// Serves a text by HTTP on a local socket, to one reader at a time:
//    curl --unix-socket SOCKET http://agent/metrics
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Tiny {

class MetricsServer
{
 public:
   /// Replaces a socket that an earlier process has left there, and no other file. std::runtime_error if it cannot
   /// listen.
   explicit MetricsServer( const std::string& path )
      : listener_( ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) )
   {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      if( path.size() >= sizeof address.sun_path )
         throw std::runtime_error( path + ": the path of a socket has at most 107 characters" );
      path.copy( address.sun_path, path.size() );
      struct stat present
      {
      };
      if( ::lstat( path.c_str(), &present ) == 0 && S_ISSOCK( present.st_mode ) )
         ::unlink( path.c_str() );
      if( ::bind( listener_, reinterpret_cast<const sockaddr*>( &address ), sizeof address ) != 0 ||
          ::listen( listener_, 4 ) != 0 )
         throw std::runtime_error( path + ": " + std::strerror( errno ) );
   }
   ~MetricsServer() { ::close( listener_ ); }
   MetricsServer( const MetricsServer& ) = delete;
   MetricsServer& operator=( const MetricsServer& ) = delete;

   /// Waits for a reader's request, at most that long; -1 for no limit. Returns the reader's socket, or -1 if none came.
   int request( int milliseconds ) const
   {
      pollfd waiting{ listener_, POLLIN, 0 };
      if( ::poll( &waiting, 1, milliseconds ) <= 0 )
         return -1;
      const int reader = ::accept4( listener_, nullptr, nullptr, SOCK_CLOEXEC );
      // A reader that is silent, or does not read, does not keep the agent from its timers.
      const timeval patience{ 0, 100'000 };
      ::setsockopt( reader, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience );
      ::setsockopt( reader, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience );
      // Every request has the same answer, so only its end matters.
      std::string head;
      char part[ 512 ];
      while( head.find( "\r\n\r\n" ) == std::string::npos ) {
         const ssize_t size = ::recv( reader, part, sizeof part, 0 );
         if( size <= 0 || head.size() > 8192 ) {
            ::close( reader );
            return -1;
         }
         head.append( part, static_cast<std::size_t>( size ) );
      }
      return reader;
   }

   static void answer( int reader, const std::string& contentType, const std::string& text )
   {
      const std::string all = "HTTP/1.1 200 OK\r\nContent-Type: " + contentType +
                              "\r\nContent-Length: " + std::to_string( text.size() ) +
                              "\r\nConnection: close\r\n\r\n" + text;
      for( std::size_t sent = 0; sent < all.size(); ) {
         const ssize_t size = ::send( reader, all.data() + sent, all.size() - sent, MSG_NOSIGNAL );
         if( size <= 0 )
            break;
         sent += static_cast<std::size_t>( size );
      }
      ::close( reader );
   }

 private:
   int listener_;
};

} // namespace Tiny
