// replaced by the component's sources
