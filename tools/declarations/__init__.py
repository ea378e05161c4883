"""What the stand-in headers of Apple's and Flutter's frameworks declare, and whether it is true."""
