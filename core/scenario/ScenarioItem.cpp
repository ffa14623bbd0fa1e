// implemented in a later change
