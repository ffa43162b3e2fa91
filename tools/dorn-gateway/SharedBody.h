// The body of an answer that many may get at one time: the bytes are held once.
#ifndef TOOLS_DORN_GATEWAY_SHAREDBODY_H_
#define TOOLS_DORN_GATEWAY_SHAREDBODY_H_

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/optional.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace dorn::gateway {

// As Boost.Beast asks of a body that is sent.
struct SharedBody {
  using value_type = std::shared_ptr<const std::string>;  // Null: no bytes.

  static std::uint64_t size(const value_type& bytes) { return bytes ? bytes->size() : 0; }

  class writer {
   public:
    using const_buffers_type = boost::asio::const_buffer;

    template <bool isRequest, class Fields>
    writer(const boost::beast::http::header<isRequest, Fields>&, const value_type& bytes)
        : mBytes(bytes) {}

    void init(boost::beast::error_code& error) { error = {}; }

    boost::optional<std::pair<const_buffers_type, bool>> get(boost::beast::error_code& error) {
      error = {};
      if (!mBytes) return boost::none;
      return std::make_pair(const_buffers_type(boost::asio::buffer(*mBytes)), false);
    }

   private:
    const value_type& mBytes;
  };
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_SHAREDBODY_H_
